// The message dialog as the provider sees it: the built helper, run through
// the client library, answered with real X input on a private Xvfb.
#include "common/Blackbox.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using namespace testkit;
using namespace xvtui::client;

const std::string kYes = "XVTUI_dont_show_warning=true", kNo = "XVTUI_dont_show_warning=false";

// Expects `count` buttons in the bottom row: 0x02 asks for Cancel beside OK.
Act Buttons(size_t count)
{
    return [count](XClient& x, XWindow w) { ASSERT_EQ(x.BottomButtonRow(w).size(), count); };
}

// OK is the rightmost button and Enter, also while the check box (the lowest
// clickable above the buttons) has the focus, which it has at start. A long
// text of formats is drawn without a (fatal) toolkit warning, never read as a
// format (the widget test reads a text back); empty flags are 0.
TEST(Message, AnswersExactly)
{
    const Act ok = ClickButton(-1), tick = ClickBox(-1);
    std::string words;
    for (int i = 0; i < 120; ++i)
        words += "word%d ";
    const struct {
        const char* flags;
        std::vector<Act> acts;
        std::string output;
        std::string text = "Old keys were found.";
    } cases[] = {
        {"0", {Buttons(1), ok}, kNo},
        {"2", {Buttons(2), ok}, kNo},
        {"130", {Buttons(2), ok}, kYes}, // the box starts ticked: accepted unchanged, "don't show again"
        {"128", {Buttons(1), ok}, kYes},
        {"125", {Buttons(1), ok}, kNo}, // bits other than 0x02 and 0x80 change nothing
        {"130", {Press("space"), ok}, kNo},
        {"130", {tick, ok}, kNo},
        {"130", {tick, Press("space"), ok}, kYes},
        {"130", {Press("space"), Press("Return")}, kNo},
        {"130", {ClickButton(0)}, kCancelledOutput},
        {"0", {Press("Escape")}, kCancelledOutput},
        {"2", {Close()}, kCancelledOutput},
        {"", {WaitForPaint(), ok}, kNo, words},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE("case " + std::to_string(i));
        ExpectOutput(MessageRequest(cases[i].flags, cases[i].text), cases[i].acts, cases[i].output);
    }
}

// "message_time" closes the dialog by itself, local before global; 0 never.
TEST(Message, TimeOutFromTheSettings)
{
    const struct {
        std::optional<long long> local, global;
        bool closes;
    } cases[] = {{2, 30, true}, {{}, 2, true}, {0, 2, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.local ? *c.local : -1);
        Sandbox sandbox;
        if (c.local)
            sandbox.SetLocal("message_time", *c.local);
        sandbox.SetGlobal("message_time", *c.global);
        XClient x;
        ShownDialog dialog(MessageRequest(2, "Time out"), sandbox, x);
        const auto took = RunsFor(dialog, c.closes ? kAnswerTimeout : 4s);
        if (c.closes) {
            EXPECT_GT(took, 1s);
            EXPECT_LT(took, 10s);
        } else {
            EXPECT_GE(took, 4s) << "the dialog closed by itself";
            x.ClickCenter(x.BottomButtonRow(dialog.Win()).back());
        }
        dialog.Finish();
        EXPECT_EQ(dialog.Output(), c.closes ? kCancelledOutput : kNo);
    }
}

} // namespace
