// PasswordGuiSupport.h: what the in-process tests of the password dialogs share.
//
// The dialogs are built directly in the test process on its private Xvfb.
// Standard input and output are replaced by pipes (StdinFeed, StdoutCapture);
// a dialog runs through its real ShowDialog while a test body runs from the
// main loop (RunDialog), waiting for conditions with RunUntil, which iterates
// the main context until the condition holds or a deadline passes.
#pragma once

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "common/Xvfb.h"
#include "dialogs/password/PasswordDialogInfo.h"
#include "unit/base/TempSettings.h"

namespace pwtest {

// The private Xvfb, English texts, the build tree's catalogues, temporary
// settings, and a watchdog against a test that hangs.
class PasswordGuiTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        testkit::PrivateDisplay();
        setenv("LC_ALL", "C.UTF-8", 1);
        setenv("TORVIK_CATALOG_DIR", XVTUI_CATALOG_DIR, 1);
        setenv("TORVIK_LOCALE_CATALOG_DIR", XVTUI_RU_CATALOG_DIR, 1);
        m_settings.SetLocal(nullptr);
        m_settings.SetGlobal(nullptr);
        alarm(60);
    }
    void TearDown() override { alarm(0); }

    TempSettings m_settings;
};

// A one-entry PIN request; tests change single fields.
inline PasswordDialogInfo PinRequest()
{
    PasswordDialogInfo info;
    info.title = "PIN request";
    info.header = "Enter the PIN of the key carrier\n";
    info.readerName = "Reader 7";
    info.carrierName = "Carrier 42";
    info.containerName = "container-1";
    info.readerCaption = "Reader:";
    info.carrierCaption = "Carrier:";
    info.containerCaption = "Container:";
    info.passwordTerm = "PIN";
    info.carrierActive = true;
    info.triesLeft = 0xFFFF; // no tries information
    info.maxPasswordLength = 0;
    info.minPasswordLength = 0;
    return info;
}

// Standard input becomes a pipe holding `bytes` and then its end, for the
// lifetime of the object.
class StdinFeed {
public:
    explicit StdinFeed(const std::vector<unsigned char>& bytes)
    {
        int fds[2];
        if (pipe(fds) != 0)
            throw std::runtime_error("pipe failed");
        if (!bytes.empty() && write(fds[1], bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
            throw std::runtime_error("write failed");
        close(fds[1]);
        m_saved = dup(STDIN_FILENO);
        dup2(fds[0], STDIN_FILENO);
        close(fds[0]);
    }
    // The two control words, in host byte order.
    static StdinFeed Words(std::uint32_t save, std::uint32_t dontCache)
    {
        std::vector<unsigned char> bytes(8);
        std::memcpy(bytes.data(), &save, 4);
        std::memcpy(bytes.data() + 4, &dontCache, 4);
        return StdinFeed(bytes);
    }
    StdinFeed(StdinFeed&& other) noexcept : m_saved(other.m_saved) { other.m_saved = -1; }
    ~StdinFeed()
    {
        if (m_saved >= 0) {
            dup2(m_saved, STDIN_FILENO);
            close(m_saved);
        }
    }

private:
    int m_saved = -1;
};

// Standard output goes into a pipe while the object lives; Take() returns
// what was written so far (nothing else of the test may print meanwhile).
class StdoutCapture {
public:
    StdoutCapture()
    {
        std::fflush(stdout);
        int fds[2];
        if (pipe(fds) != 0)
            throw std::runtime_error("pipe failed");
        m_read = fds[0];
        fcntl(m_read, F_SETFL, O_NONBLOCK);
        m_saved = dup(STDOUT_FILENO);
        dup2(fds[1], STDOUT_FILENO);
        close(fds[1]);
    }
    ~StdoutCapture()
    {
        std::fflush(stdout);
        dup2(m_saved, STDOUT_FILENO);
        close(m_saved);
        close(m_read);
    }
    // Reads into `buffer` (up to `size` bytes) and returns the count.
    std::size_t TakeInto(char* buffer, std::size_t size)
    {
        std::fflush(stdout);
        std::size_t got = 0;
        while (got < size) {
            const ssize_t n = read(m_read, buffer + got, size - got);
            if (n <= 0)
                break;
            got += static_cast<std::size_t>(n);
        }
        return got;
    }
    std::string Take()
    {
        char buffer[4096];
        return std::string(buffer, TakeInto(buffer, sizeof buffer));
    }

private:
    int m_read = -1;
    int m_saved = -1;
};

// Iterates the default main context until `done()` holds; false when
// `timeoutMs` passes first.
inline bool RunUntil(const std::function<bool()>& done, unsigned timeoutMs = 5000)
{
    bool expired = false;
    const guint timer = g_timeout_add(
        timeoutMs, [](gpointer flag) -> gboolean { *static_cast<bool*>(flag) = true; return FALSE; }, &expired);
    while (!done() && !expired)
        g_main_context_iteration(nullptr, TRUE);
    if (!expired)
        g_source_remove(timer);
    return !expired || done();
}

// Runs `dialog.ShowDialog()` with `body` started from the main loop once the
// loop runs. When the body returns (also by a failed ASSERT or an exception)
// and the dialog is still open, `cancel` ends it. Returns ShowDialog's result.
template <class Dialog>
std::uint32_t RunDialog(Dialog& dialog, const std::function<void()>& body, const std::function<void()>& cancel)
{
    struct Script {
        const std::function<void()>* body;
        const std::function<void()>* cancel;
    } script{&body, &cancel};
    g_idle_add(
        [](gpointer data) -> gboolean {
            auto* s = static_cast<Script*>(data);
            try {
                (*s->body)();
            } catch (const std::exception& error) {
                ADD_FAILURE() << "test body threw: " << error.what();
            }
            (*s->cancel)();
            return FALSE;
        },
        &script);
    return dialog.ShowDialog();
}

// The widget named `name` under `root`, internal children included.
inline GtkWidget* FindNamed(GtkWidget* root, const char* name)
{
    if (root == nullptr)
        return nullptr;
    if (std::strcmp(gtk_widget_get_name(root), name) == 0)
        return root;
    struct Search {
        const char* name;
        GtkWidget* found;
    } search{name, nullptr};
    if (GTK_IS_CONTAINER(root)) {
        gtk_container_forall(
            GTK_CONTAINER(root),
            [](GtkWidget* child, gpointer data) {
                auto* s = static_cast<Search*>(data);
                if (s->found == nullptr)
                    s->found = FindNamed(child, s->name);
            },
            &search);
    }
    return search.found;
}

inline std::string LabelText(GtkWidget* label)
{
    return label != nullptr ? gtk_label_get_text(GTK_LABEL(label)) : "<no label>";
}

// True once the X server has mapped the top-level `window`.
inline bool IsMappedOnServer(GtkWidget* window)
{
    GdkWindow* gdkWindow = window != nullptr ? gtk_widget_get_window(window) : nullptr;
    return gdkWindow != nullptr && (gdk_window_get_state(gdkWindow) & GDK_WINDOW_STATE_WITHDRAWN) == 0 &&
           gtk_widget_get_mapped(window);
}

} // namespace pwtest
