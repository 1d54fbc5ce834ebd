// PasswordGuiSupport.h: what the in-process tests of the password dialogs share.
//
// A dialog of any kind is built through the factory on the private Xvfb and
// driven through its widgets by name, without a main loop of its own: OK ends
// it just the same, and waits iterate the main context.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include <sys/socket.h>
#include <unistd.h>

#include "base/secure/SecureString.h"
#include "common/XClient.h"
#include "dialogs/password/PasswordDialogFactory.h"
#include "gui/base/GuiSupport.h"
#include "protocol/Pipe.h"

namespace pwtest {

inline constexpr const char* kCurrent = "xvtui-password-entry";
inline constexpr const char* kNew = "xvtui-new-password-entry";
inline constexpr const char* kConfirm = "xvtui-confirm-password-entry";

// GuiTest's display, texts, settings and watchdog, with Caps Lock off.
class PasswordGui : public GuiTest {
protected:
    void SetUp() override
    {
        GuiTest::SetUp();
        SetCapsLock(false);
    }
    // Sets the keyboard's Caps Lock and the dialogs' belief in it.
    static void SetCapsLock(bool on)
    {
        testkit::XClient x;
        if (x.CapsLockOn() != on)
            x.PressKey("Caps_Lock");
        PasswordDialogBase::m_capsLockIsOn = on;
    }
};

// Distinct words for the current secret ("password") and the new one ("PIN"),
// so that every warning shows which one it means.
inline PasswordDialogInfo Request(int minPassword = 0, int minNewPassword = 0, int triesLeft = 0xFFFF)
{
    return {.title = "PIN request", .header = "Enter the PIN of the key carrier\n", .readerName = "Reader 7",
            .carrierName = "Carrier 42", .containerName = "container-1", .readerCaption = "Reader:",
            .carrierCaption = "Carrier:", .containerCaption = "Container:", .passwordTerm = "password",
            .newPasswordTerm = "PIN", .carrierActive = true, .triesLeft = triesLeft, .maxPasswordLength = 16,
            .minPasswordLength = minPassword, .maxNewPasswordLength = 24, .minNewPasswordLength = minNewPassword};
}

// Iterates the default main context until `done()` holds; false when
// `timeoutMs` passes first.
inline bool RunUntil(const std::function<bool()>& done, unsigned timeoutMs = 5000)
{
    bool expired = false;
    const guint timer = g_timeout_add(
        timeoutMs, [](gpointer flag) -> gboolean { return *static_cast<bool*>(flag) = true, FALSE; }, &expired);
    while (!done() && !expired)
        g_main_context_iteration(nullptr, TRUE);
    if (!expired)
        g_source_remove(timer);
    return done();
}

// One dialog of kind 1 (reading `save` and `dontCache` as its control words
// from its pipe), 2 or 3, talking to the test over a socketpair.
class Dialog {
public:
    Dialog(int kind, const PasswordDialogInfo& info, std::uint32_t save = 3, std::uint32_t dontCache = 3)
    {
        const std::uint32_t words[2] = {save, dontCache};
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, m_ends) != 0 ||
            write(m_ends[0], words, sizeof words) != sizeof words || shutdown(m_ends[0], SHUT_WR) != 0)
            throw std::runtime_error("no socketpair for the control words");
        m_dialog = PasswordDialogFactory::CreatePasswordDialog(kind, info, xvtui::protocol::Pipe(m_ends[1], m_ends[1]));
        m_window = FindInToplevels("xvtui-window");
        if (m_dialog == nullptr || m_window == nullptr)
            throw std::runtime_error("no dialog of kind " + std::to_string(kind));
        g_signal_connect(m_window, "destroy", G_CALLBACK(gtk_widget_destroyed), &m_window);
    }
    Dialog(const Dialog&) = delete;
    ~Dialog()
    {
        m_dialog.reset();
        close(m_ends[0]);
        close(m_ends[1]);
    }

    // The window while the dialog is open, else null.
    GtkWidget* Window() const { return m_window; }
    GtkWidget* W(const char* name) const { return FindNamed(m_window, name); }
    std::string Label(const char* name) const { return gtk_label_get_text(GTK_LABEL(W(name))); }
    std::string Hint() const { return Label("xvtui-hint"); }
    bool OkSensitive() const { return gtk_widget_get_sensitive(W("xvtui-ok")) != FALSE; }
    void ClickOk() const { gtk_button_clicked(GTK_BUTTON(W("xvtui-ok"))); }
    // The whole text of an entry replaced.
    void Fill(const char* entry, const char* text) const { gtk_entry_set_text(GTK_ENTRY(W(entry)), text); }

    // Shows the window and gives it the keyboard focus as a window manager
    // would, so that focus changes inside it are real focus-in events.
    void Show() const
    {
        gtk_widget_show_all(m_window);
        gdk_window_focus(gtk_widget_get_window(m_window), GDK_CURRENT_TIME);
        if (!RunUntil([&] { return gtk_window_has_toplevel_focus(GTK_WINDOW(m_window)) != FALSE; }))
            throw std::runtime_error("the window got no focus");
    }
    void Focus(const char* entry) const
    {
        gtk_widget_grab_focus(W(entry));
        if (!RunUntil([&] { return gtk_widget_has_focus(W(entry)) != FALSE; }))
            throw std::runtime_error(std::string(entry) + " got no focus");
    }

    // What the dialog writes to its pipe, read into secure storage.
    secure::String Answer() const
    {
        m_dialog->PrintResultToPipe();
        secure::String answer;
        answer.resize(4096);
        // All of it: the writer is done.
        const ssize_t got = recv(m_ends[0], answer.data(), answer.size(), MSG_DONTWAIT);
        answer.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        return answer;
    }

private:
    GtkWidget* m_window = nullptr; // set to null when the window is destroyed
    int m_ends[2] = {-1, -1};      // the test's end, the dialog's end
    std::unique_ptr<PasswordDialogBase> m_dialog;
};

// The three lines of the hint label.
inline std::string Lines(const std::string& a = "", const std::string& b = "", const std::string& c = "")
{
    return a + "\n" + b + "\n" + c + "\n";
}

} // namespace pwtest
