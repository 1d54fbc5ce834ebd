/*
 * BaseDialog: the common frame of every dialog.
 *
 * The constructor reads the dialog's three time-out settings, creates its
 * CSPLocalizer, initialises GTK and builds the top-level window. For every
 * kind but the message dialog it also builds the OK/Cancel row (in
 * m_buttonAlignment, which each dialog packs where it wants), the countdown
 * label (first row of m_mainBox) and starts the one-second timer that counts
 * the dialog down and watches for the loss of the parent.
 *
 * A dialog ends through TerminateDialog(code), Cancel, the window manager's
 * close, the time-out, or an exception raised in a handler (see
 * base/Callback.h); ShowDialog then returns the result code, which the
 * process entry reports. PrintResultToPipe writes the answer after result 0.
 *
 * Widget names (gtk_widget_set_name), for tests and style:
 *   "xvtui-window"   m_window           "xvtui-main-box" m_mainBox
 *   "xvtui-buttons"  m_buttonAlignment  "xvtui-ok"       m_okButton
 *   "xvtui-cancel"   m_cancelButton     "xvtui-timer"    m_timerLabel
 *
 * Derived dialogs connect their handlers with `this` as user data and the
 * idiom of base/Callback.h; their ShowDialog, if they override it, must call
 * callback::RethrowParked() after gtk_main returns.
 */
#ifndef XVTUI_BASE_BASEDIALOG_H
#define XVTUI_BASE_BASEDIALOG_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtk/gtk.h>

#include "base/FontPreload.h"
#include "l10n/CSPLocalizer.h"
#include "l10n/LocalizedText.h"
#include "protocol/DialogKind.h"
#include "protocol/Pipe.h"

using xvtui::protocol::DialogKind;

class BaseDialog {
public:
    // The message kind gets only the (hidden) main window: no buttons,
    // countdown label or base timer. The keys name the total, show and resume
    // time-out settings (e.g. "passwd_time", "passwd_show_time",
    // "passwd_resume_time"). Raises xvtui_exception 1114 "gtk_init_check
    // failed" when GTK cannot start.
    BaseDialog(DialogKind dialogKind, const std::string& timeKey, const std::string& showTimeKey,
               const std::string& resumeTimeKey);
    virtual ~BaseDialog();

    BaseDialog(const BaseDialog&) = delete;
    BaseDialog& operator=(const BaseDialog&) = delete;

    // Shows the window, makes OK the default widget, runs gtk_main and
    // returns m_result. Re-raises an exception parked by a handler.
    virtual std::uint32_t ShowDialog();
    // Writes the dialog's answer to standard output; called after result 0.
    virtual void PrintResultToPipe() const = 0;

    // Ends the dialog: stops the timer, destroys the window, quits the main
    // loop, then stores `code` as the result.
    void TerminateDialog(int code);
    // User activity: restarts the countdown at the resume time, if one is set.
    void ResetTimeout();

    // Follows the window width with a wrapped label: when `width` differs from
    // the last known width (m_windowWidth), stores it, requests width - 30 for
    // the label and sets its text; otherwise does nothing at all.
    static void RedrawLabel(unsigned width, GtkWidget* label, std::string text);
    // Parses a colour name and applies it to the widget's normal state, as
    // foreground or background.
    static void SetWidgetColor(GtkWidget* widget, const std::string& colorName, bool foreground);
    // The command line's number rule (protocol/Number.h): true and the
    // number, or false and -1.
    static bool StringToInt(const char* text, int& value);
    // True when the parent is lost: standard output's pipe is in error, or the
    // parent process id differs from the one seen at the first check.
    static bool CheckBrokenPipe();
    // `text` as the toolkit may show it: valid UTF-8 unchanged, malformed
    // byte sequences replaced by U+FFFD (the provider's texts are not checked
    // and GTK warns about, or cuts, invalid UTF-8).
    static std::string Displayable(const std::string& text);

    // How long a wait on the parent may last: the dialog's total time-out, at
    // least a second (none for a message dialog whose time-out is off).
    std::chrono::seconds WaitLimit() const { return m_waitLimit; }
    // `pipe` under the parent watch: the parent is checked about every 100 ms
    // (CheckBrokenPipe), and no wait goes on past `limit` from now.
    static xvtui::protocol::Pipe WatchedPipe(const xvtui::protocol::Pipe& pipe, std::chrono::seconds limit);

    // Members behind the GTK callbacks (public for base/Callback.h).
    bool OnTimer();
    void OnCancelClicked();
    bool OnDelete();
    void OnDestroy();

private:
    // The font configuration, read while the rest of the dialog is made
    // (base/FontPreload.h): started once the locale is set, waited for by
    // CreateMainWindow before the first widget.
    FontPreload m_fonts;

protected:
    // Localises m_okTerm, m_cancelTerm and m_titleTerm.
    void TermsInit();
    // gtk_init_check and the top-level window.
    void CreateMainWindow();
    // CreateMainWindow, then the main box, the OK/Cancel row, the countdown
    // label and the timer.
    void GtkInit();
    // Removes the one-second timer if it runs.
    void StopTimer();
    // gtk_main_quit, when a main loop runs: a dialog that ends before it is
    // shown has none to quit.
    static void QuitMainLoop();

    // Every read from the parent goes through a watched pipe: this one waits
    // no longer than the time the dialog has left (at least a second).
    xvtui::protocol::Pipe WatchedInput(const xvtui::protocol::Pipe& pipe) const;
    // After reads on a watched pipe: a lost parent (or a failed descriptor)
    // raises 109 "broken pipe"; a wait that reached its limit ends the dialog
    // as its time-out does, raising ResultCode::Cancelled.
    static void RaiseIfGaveUp(const xvtui::protocol::Pipe& watched, const char* function);
    // Writes the whole answer under the parent watch (WaitLimit), or raises
    // 109 "broken pipe": an answer is delivered whole or the run fails.
    void WriteAnswer(const xvtui::protocol::Pipe& pipe, std::string_view bytes) const;

    GtkWidget* m_window = nullptr;          // top-level window; null once destroyed
    GtkWidget* m_mainBox = nullptr;         // vertical box, the window's only child
    GtkWidget* m_buttonAlignment = nullptr; // OK/Cancel row, bottom right; not packed
    GtkWidget* m_okButton = nullptr;        // no handler: each dialog connects "clicked"
    GtkWidget* m_cancelButton = nullptr;    // ends the dialog with ResultCode::Cancelled
    GtkWidget* m_timerLabel = nullptr;      // countdown, top right
    std::uint32_t m_result;                 // ResultCode::Failed until the dialog ends
    std::unique_ptr<CSPLocalizer> m_localizer;
    std::uint32_t m_timeLeft = 0;   // seconds before the dialog cancels itself
    std::uint32_t m_showTime = 0;   // the countdown shows while m_timeLeft <= this
    std::uint32_t m_resumeTime = 0; // m_timeLeft after user activity; 0: never reset
    std::uint32_t m_timerId = 0;    // GLib source of the one-second timer; 0: none
    std::chrono::seconds m_waitLimit; // see WaitLimit

    static LocalizedText m_okTerm;       // "OK"
    static LocalizedText m_cancelTerm;   // "Cancel"
    static LocalizedText m_titleTerm;    // "Veltro CSP", the window title
    static const std::string m_warningColor;  // "brown"
    static const std::string m_inactiveColor; // "grey"
    static unsigned m_windowWidth;            // 410; last width seen by RedrawLabel
    static const unsigned m_windowHeight;     // 470
};

#endif
