// Blackbox.h: runs the built helper as the provider does. Header-only, so the
// test kit library does not depend on the client library.
#pragma once

#include "client/HelperProcess.h"
#include "common/Sandbox.h"
#include "common/XClient.h"
#include "common/Xvfb.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace testkit {

using namespace std::chrono_literals;

// The helper: the built one, or the command XVTUI_TEST_HELPER names (the
// memcheck preset's wrapper, which runs the built one under valgrind).
inline const char* HelperWrapper()
{
    const char* wrapper = std::getenv("XVTUI_TEST_HELPER");
    return wrapper != nullptr && *wrapper != '\0' ? wrapper : nullptr;
}
inline std::string HelperPath()
{
    return HelperWrapper() != nullptr ? HelperWrapper() : XVTUI_BINARY;
}

// Under valgrind a window takes many seconds to appear.
inline const Millis kWindowTimeout = HelperWrapper() != nullptr ? Millis(120s) : Millis(15s);
inline const Millis kAnswerTimeout = kWindowTimeout;

// What a helper built with AddressSanitizer needs beyond a time bound that is
// measured to its end: a slower start, and the leak check when it exits.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr Millis kExitSlack{1500};
#else
inline constexpr Millis kExitSlack{0};
#endif

inline xvtui::client::LaunchOptions HelperOptions(const Sandbox& sandbox, bool intermediateParent = false)
{
    return {.helper = HelperPath(), .environment = sandbox.Environment(), .intermediateParent = intermediateParent};
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

// How long the helper of a shown dialog runs on from now, `limit` at most.
inline std::chrono::steady_clock::duration RunsFor(ShownDialog& dialog, Millis limit = kAnswerTimeout)
{
    const auto from = std::chrono::steady_clock::now();
    dialog.Process().WaitForExit(limit);
    return std::chrono::steady_clock::now() - from;
}

// What a user does in a shown dialog.
using Act = std::function<void(XClient&, XWindow)>;

inline Act Type(std::string text)
{
    return [text](XClient& x, XWindow) { x.TypeText(text); };
}
inline Act Press(std::string key)
{
    return [key](XClient& x, XWindow) { x.PressKey(key); };
}
// Presses the keys one after the other.
inline Act Keys(std::vector<std::string> keys)
{
    return [keys](XClient& x, XWindow) {
        for (const std::string& key : keys)
            x.PressKey(key);
    };
}
// Types each text into the next field, Tab between them, then Enter.
inline Act Fill(std::vector<std::string> fields)
{
    return [fields](XClient& x, XWindow) {
        for (size_t i = 0; i < fields.size(); ++i) {
            if (i > 0)
                x.PressKey("Tab");
            x.TypeText(fields[i]);
        }
        x.PressKey("Return");
    };
}
inline Act Close()
{
    return [](XClient& x, XWindow window) { x.SendDeleteWindow(window); };
}
inline Act WaitForPaint()
{
    return [](XClient& x, XWindow window) { ASSERT_TRUE(x.WaitForPaint(window, kWindowTimeout)); };
}
// Clicks button `index` of the bottom row, counted from the right when negative.
inline Act ClickButton(int index)
{
    return [index](XClient& x, XWindow window) {
        const std::vector<Rect> row = x.BottomButtonRow(window);
        const int count = static_cast<int>(row.size());
        ASSERT_TRUE(index < count && -index <= count) << "the row has " << count << " buttons";
        x.ClickCenter(row[static_cast<size_t>((index + count) % count)]);
    };
}
// Clicks clickable window `index` above the bottom row (top to bottom: the
// check boxes), counted from the bottom when negative.
inline Act ClickBox(int index)
{
    return [index](XClient& x, XWindow window) {
        std::vector<Rect> boxes = x.ButtonWindows(window);
        for (const Rect& button : x.BottomButtonRow(window))
            std::erase_if(boxes, [&](const Rect& r) { return r.x == button.x && r.y == button.y; });
        const int count = static_cast<int>(boxes.size());
        ASSERT_TRUE(index < count && -index <= count) << "there are " << count << " boxes";
        x.ClickCenter(boxes[static_cast<size_t>((index + count) % count)]);
    };
}

struct Reply {
    std::string output;
    xvtui::client::Answer answer;
};

// Shows the request's dialog, does `acts` in it and reads its answer.
inline Reply Drive(const xvtui::client::Request& request, const std::vector<Act>& acts, const Sandbox& sandbox)
{
    XClient x;
    ShownDialog dialog(request, sandbox, x);
    for (const Act& act : acts)
        act(x, dialog.Win());
    Reply reply;
    reply.answer = dialog.Finish();
    reply.output = dialog.Output();
    return reply;
}

// What the parent reads from a cancelled, closed or timed-out dialog.
inline const std::string kCancelledOutput = "ret=2148532334";

// Drives the request in a sandbox of its own and checks the exact output:
// kCancelledOutput with exit status 110, anything else answered with 0.
inline void ExpectOutput(const xvtui::client::Request& request, const std::vector<Act>& acts,
                         const std::string& output)
{
    Sandbox sandbox;
    const Reply run = Drive(request, acts, sandbox);
    EXPECT_EQ(run.output, output);
    const bool cancelled = output == kCancelledOutput;
    EXPECT_EQ(run.answer.exitStatus, cancelled ? 110 : 0);
    EXPECT_EQ(run.answer.outcome,
              cancelled ? xvtui::client::Outcome::Refused : xvtui::client::Outcome::Answered)
        << run.answer.problem;
}

} // namespace testkit
