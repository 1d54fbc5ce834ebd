/*
 * MessageDialog: one message with OK (and optionally Cancel), and optionally
 * the "don't show again" check box of the old-keys warning.
 *
 * Request: argv = program, keyword, flags (whole base-10 number), message
 * text; exactly four arguments, otherwise ResultCode::BadArgs "Bad args in
 * MessageDialog constructor". Flag 0x02 adds Cancel; flag 0x80 adds the check
 * box (catalogue text 2118), checked at start. Other bits are ignored.
 *
 * A GTK message dialog runs modally (gtk_dialog_run, 50 ms after gtk_main
 * starts) over the base window, which stays hidden. OK gives result 0 and the
 * answer "XVTUI_dont_show_warning=" + "true"/"false"; Cancel, closing and the
 * time-out give ResultCode::Cancelled. Only "message_time" counts here, and
 * its own timer decrements before testing: 0 never times out.
 *
 * Widget names: "xvtui-message" (the message dialog), "xvtui-dont-show"
 * (the check box).
 */
#ifndef XVTUI_DIALOGS_MESSAGE_MESSAGEDIALOG_H
#define XVTUI_DIALOGS_MESSAGE_MESSAGEDIALOG_H

#include <cstdint>
#include <string>

#include <gtk/gtk.h>

#include "base/BaseDialog.h"

class MessageDialog : public BaseDialog {
public:
    MessageDialog(int argc, char** argv);
    ~MessageDialog() override;

    // Runs gtk_main (the message dialog appears from within it) and returns
    // the result; the base window is never shown.
    std::uint32_t ShowDialog() override;
    // "XVTUI_dont_show_warning=true" or "...=false", no newline.
    void PrintResultToPipe() const override;
    // Flag 0x80: the check box is shown.
    bool IsOldKeysWarning() const;

    // Members behind the callbacks (public for base/Callback.h).
    void OnResponse(GtkResponseType response);
    bool OnDialog();
    bool OnTimer();

    static constexpr int kOkCancelFlag = 0x02;
    static constexpr int kOldKeysWarningFlag = 0x80;

private:
    void MessageGtkInit();

    GtkWidget* m_dialog = nullptr;        // null once destroyed
    GtkWidget* m_dontShowCheck = nullptr; // null unless flag 0x80, and after the answer
    std::string m_message;
    std::int32_t m_flags = 0;
    bool m_dontShowWarning = false;
    guint m_showSourceId = 0;  // the one-shot 50 ms source, while pending
    guint m_timerSourceId = 0; // the one-second source, while running
};

#endif
