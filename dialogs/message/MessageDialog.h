/*
 * MessageDialog: one message with OK (and optionally Cancel), and optionally
 * the "don't show again" check box of the old-keys warning.
 *
 * Request: protocol/MessageRequest.h; one it refuses raises
 * ResultCode::BadArgs "Bad args in MessageDialog constructor". The OK/Cancel
 * flag adds Cancel; the old-keys flag adds the check box (catalogue text
 * 2118), checked at start.
 *
 * A GTK message dialog runs modally (gtk_dialog_run, 50 ms after gtk_main
 * starts) over the base window, which stays hidden. OK gives result 0 and the
 * answer of the check box's state (protocol/MessageRequest.h); Cancel,
 * closing and the time-out give ResultCode::Cancelled. Only "message_time" counts here, and
 * its own timer decrements before testing: 0 never times out. The answer goes
 * to the pipe handed in (standard output unless a test hands in another).
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
#include "protocol/MessageRequest.h"
#include "protocol/Pipe.h"

class MessageDialog : public BaseDialog {
public:
    MessageDialog(int argc, char** argv, const xvtui::protocol::Pipe& pipe = xvtui::protocol::Pipe::Standard());
    ~MessageDialog() override;

    // Runs gtk_main (the message dialog appears from within it) and returns
    // the result; the base window is never shown.
    std::uint32_t ShowDialog() override;
    void PrintResultToPipe() const override;
    // The old-keys flag: the check box is shown.
    bool IsOldKeysWarning() const;

    // Members behind the callbacks (public for base/Callback.h).
    void OnResponse(GtkResponseType response);
    bool OnDialog();
    bool OnTimer();
    bool OnPrepare();

private:
    void MessageGtkInit();

    GtkWidget* m_dialog = nullptr;        // null once destroyed
    GtkWidget* m_dontShowCheck = nullptr; // null unless the old-keys flag, and after the answer
    xvtui::protocol::Pipe m_pipe;
    xvtui::protocol::MessageRequest m_request;
    bool m_dontShowWarning = false;
    guint m_prepareSourceId = 0; // the idle source that readies the dialog, while pending
    guint m_showSourceId = 0;  // the one-shot 50 ms source, while pending
    guint m_timerSourceId = 0; // the one-second source, while running
};

#endif
