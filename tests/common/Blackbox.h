// Blackbox.h: runs the built helper as the provider does. Header-only, so the
// test kit library does not depend on the client library.
#pragma once

#include "client/HelperProcess.h"
#include "common/Sandbox.h"
#include "common/XClient.h"
#include "common/Xvfb.h"

#include <chrono>
#include <stdexcept>

namespace testkit {

using namespace std::chrono_literals;

inline constexpr Millis kWindowTimeout = 15s;
inline constexpr Millis kAnswerTimeout = 15s;

inline xvtui::client::LaunchOptions HelperOptions(const Sandbox& sandbox, bool intermediateParent = false)
{
    return {.helper = XVTUI_BINARY, .environment = sandbox.Environment(), .intermediateParent = intermediateParent};
}

// A request that never shows a window, run to its end.
inline xvtui::client::Answer AskHelper(const xvtui::client::Request& request, const Sandbox& sandbox)
{
    return xvtui::client::Ask(request, HelperOptions(sandbox), kAnswerTimeout);
}

// A helper whose dialog is on screen: started, its window found and focused.
class ShownDialog {
public:
    ShownDialog(const xvtui::client::Request& request, const Sandbox& sandbox, XClient& x,
                bool intermediateParent = false)
        : m_decoder(request.decoder),
          m_process(request, HelperOptions(sandbox, intermediateParent)),
          m_window(x.WaitForWindow(m_process.Pid(), kWindowTimeout))
    {
        if (m_window == kNoWindow)
            throw std::runtime_error("the helper showed no window");
        x.Focus(m_window);
    }

    XWindow Win() const { return m_window; }
    xvtui::client::HelperProcess& Process() { return m_process; }

    // Waits for the helper to end and decodes its answer.
    xvtui::client::Answer Finish()
    {
        m_run = m_process.Finish(kAnswerTimeout);
        return xvtui::client::Decode(m_run, m_decoder);
    }
    std::string_view Output() const { return m_run.output.view(); }

private:
    xvtui::client::Decoder m_decoder;
    xvtui::client::HelperProcess m_process;
    XWindow m_window;
    xvtui::client::RunResult m_run;
};

} // namespace testkit
