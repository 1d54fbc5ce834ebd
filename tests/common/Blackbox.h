// Blackbox.h: runs the built helper as the provider does, for black-box tests.
//
// Header-only, so that the test kit library itself does not depend on the
// client library; black-box test executables link xvtui_client.
#pragma once

#include "client/HelperProcess.h"
#include "common/Sandbox.h"
#include "common/XClient.h"
#include "common/Xvfb.h"

#include <chrono>
#include <memory>
#include <stdexcept>

namespace testkit {

using namespace std::chrono_literals;

// How long a test waits for a window, or for an answer, before it fails.
inline constexpr Millis kWindowTimeout = 15s;
inline constexpr Millis kAnswerTimeout = 15s;

// Launch options for the built helper with the sandbox's environment.
inline xvtui::client::LaunchOptions HelperOptions(const Sandbox& sandbox, bool intermediateParent = false)
{
    xvtui::client::LaunchOptions options;
    options.helper = XVTUI_BINARY;
    options.environment = sandbox.Environment();
    options.intermediateParent = intermediateParent;
    return options;
}

// Runs a request to its end without a display being touched by the test
// (for requests that never show a window).
inline xvtui::client::Answer AskHelper(const xvtui::client::Request& request, const Sandbox& sandbox,
                                       Millis timeout = kAnswerTimeout)
{
    return xvtui::client::Ask(request, HelperOptions(sandbox), timeout);
}

// A helper whose dialog is on screen: started, its window found and focused.
class ShownDialog {
public:
    ShownDialog(const xvtui::client::Request& request, const Sandbox& sandbox, XClient& x,
                bool intermediateParent = false)
        : m_decoder(request.decoder)
    {
        m_process = std::make_unique<xvtui::client::HelperProcess>(
            request, HelperOptions(sandbox, intermediateParent));
        m_window = x.WaitForWindow(m_process->Pid(), kWindowTimeout);
        if (m_window == kNoWindow)
            throw std::runtime_error("the helper showed no window");
        x.Focus(m_window);
    }

    XWindow Win() const { return m_window; }
    xvtui::client::HelperProcess& Process() { return *m_process; }

    // Waits for the helper to end and decodes its answer.
    xvtui::client::Answer Finish(Millis timeout = kAnswerTimeout)
    {
        m_run = m_process->Finish(timeout);
        return xvtui::client::Decode(m_run, m_decoder);
    }
    // The raw output of the finished run.
    std::string_view Output() const { return m_run.output.view(); }

private:
    xvtui::client::Decoder m_decoder;
    std::unique_ptr<xvtui::client::HelperProcess> m_process;
    XWindow m_window = kNoWindow;
    xvtui::client::RunResult m_run;
};

} // namespace testkit
