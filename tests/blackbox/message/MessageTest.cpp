// The message dialog as the provider sees it: the built helper, run through
// the client library, answered with real X input on a private Xvfb.
#include "common/Blackbox.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace testkit;
using namespace xvtui::client;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kCancelledText = "ret=2148532334";

// The check box: the lowest clickable window above the button row.
Rect CheckBoxOf(XClient& x, XWindow window)
{
    const std::vector<Rect> row = x.BottomButtonRow(window);
    Rect best{};
    bool found = false;
    for (const Rect& r : x.ButtonWindows(window)) {
        const bool inRow = std::any_of(row.begin(), row.end(),
                                       [&](const Rect& b) { return b.x == r.x && b.y == r.y; });
        if (!inRow && (!found || r.y > best.y)) {
            best = r;
            found = true;
        }
    }
    if (!found)
        throw std::runtime_error("no check box found");
    return best;
}

// Both keywords build the very same dialog.
class MessageKeyword : public ::testing::TestWithParam<bool> {};

TEST_P(MessageKeyword, OkButtonAnswers)
{
    const bool extended = GetParam();
    struct Case {
        int flags;
        size_t buttons;
        std::function<void(XClient&, XWindow)> beforeOk;
        std::string_view answer;
    };
    const Case cases[] = {
        {0, 1, nullptr, "XVTUI_dont_show_warning=false"},
        {2, 2, nullptr, "XVTUI_dont_show_warning=false"},
        // The box starts ticked: accepting unchanged means "don't show again".
        {130, 2, nullptr, "XVTUI_dont_show_warning=true"},
        {128, 1, nullptr, "XVTUI_dont_show_warning=true"},
        // The box has the focus at start: space unticks it.
        {130, 2, [](XClient& x, XWindow) { x.PressKey("space"); }, "XVTUI_dont_show_warning=false"},
        {130, 2, [](XClient& x, XWindow w) { x.ClickCenter(CheckBoxOf(x, w)); },
         "XVTUI_dont_show_warning=false"},
        // Twice is back to ticked.
        {130, 2,
         [](XClient& x, XWindow w) {
             x.ClickCenter(CheckBoxOf(x, w));
             x.PressKey("space");
         },
         "XVTUI_dont_show_warning=true"},
        // Bits other than 0x02 and 0x80 change nothing.
        {0x7D, 1, nullptr, "XVTUI_dont_show_warning=false"},
    };
    XClient x;
    for (const Case& c : cases) {
        SCOPED_TRACE("flags " + std::to_string(c.flags));
        Sandbox sandbox;
        const Request request = MessageRequest(c.flags, "Old keys were found.", extended);
        ShownDialog dialog(request, sandbox, x);
        const std::vector<Rect> row = x.BottomButtonRow(dialog.Win());
        ASSERT_EQ(row.size(), c.buttons);
        if (c.beforeOk)
            c.beforeOk(x, dialog.Win());
        x.ClickCenter(row.back()); // OK is the rightmost button
        const Answer answer = dialog.Finish();
        EXPECT_EQ(dialog.Output(), c.answer);
        EXPECT_EQ(answer.outcome, Outcome::Answered);
        EXPECT_EQ(answer.exitStatus, 0);
    }
}

// Enter is OK, also while the check box has the focus; space toggles the box.
TEST_P(MessageKeyword, EnterAnswersOk)
{
    const std::pair<std::vector<const char*>, std::string_view> cases[] = {
        {{"Return"}, "XVTUI_dont_show_warning=true"},
        {{"space", "Return"}, "XVTUI_dont_show_warning=false"},
    };
    XClient x;
    for (const auto& [keys, expected] : cases) {
        Sandbox sandbox;
        ShownDialog dialog(MessageRequest(130, "Old keys were found.", GetParam()), sandbox, x);
        for (const char* key : keys)
            x.PressKey(key);
        dialog.Finish();
        EXPECT_EQ(dialog.Output(), expected);
    }
}

TEST_P(MessageKeyword, CancelEscapeAndCloseAnswerCancelled)
{
    const bool extended = GetParam();
    struct Case {
        const char* name;
        int flags;
        std::function<void(XClient&, XWindow)> act;
    };
    const Case cases[] = {
        {"Cancel button", 130, [](XClient& x, XWindow w) { x.ClickCenter(x.BottomButtonRow(w).front()); }},
        {"Escape", 130, [](XClient& x, XWindow) { x.PressKey("Escape"); }},
        {"Escape, OK only", 0, [](XClient& x, XWindow) { x.PressKey("Escape"); }},
        {"window manager close", 2, [](XClient& x, XWindow w) { x.SendDeleteWindow(w); }},
    };
    XClient x;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Sandbox sandbox;
        const Request request = MessageRequest(c.flags, "Cancel me", extended);
        ShownDialog dialog(request, sandbox, x);
        c.act(x, dialog.Win());
        const Answer answer = dialog.Finish();
        EXPECT_EQ(dialog.Output(), kCancelledText);
        EXPECT_EQ(answer.code, xvtui::client::kCancelled);
        EXPECT_EQ(answer.exitStatus, 110);
    }
}

TEST_P(MessageKeyword, BadArgumentsAreRefused)
{
    const bool extended = GetParam();
    const std::string keyword = extended ? "VTDisplayMessageEx" : "VTDisplayMessage";
    const std::vector<std::vector<std::string>> commandLines = {
        {keyword, "2x", "text"},   {keyword, "0x10", "text"}, {keyword, "1 ", "text"},
        {keyword, "2"},            {keyword},                 {keyword, "2", "text", "extra"},
        {keyword, "abc", "text"},
    };
    XClient x; // the private display: the dialog's base starts GTK before it checks arguments
    for (const auto& arguments : commandLines) {
        SCOPED_TRACE(::testing::PrintToString(arguments));
        Sandbox sandbox;
        const RunResult run = xvtui::client::Run(RawRequest(arguments), HelperOptions(sandbox), kAnswerTimeout);
        ASSERT_TRUE(run.exited);
        EXPECT_EQ(run.output.view(), "ret=2147942487");
        EXPECT_EQ(run.exitStatus, 87);
        EXPECT_NE(sandbox.ReadLog().find("Bad args in MessageDialog constructor"), std::string::npos)
            << sandbox.ReadLog();
    }
}

INSTANTIATE_TEST_SUITE_P(Keywords, MessageKeyword, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "Ex" : "Plain"; });

// Texts are shown as given, never read as a format; an empty flags number is 0.
TEST(Message, TextsAreShownLiterally)
{
    const std::pair<std::string, std::string> requests[] = {
        {"0", "%s%n%d%s%s%s%n%x"},
        {"130", "Ключи устарели: %s\nLine two\t%n"},
        {"", [] {
             std::string words;
             for (int i = 0; i < 120; ++i)
                 words += "word%d ";
             return words;
         }()},
    };
    XClient x;
    for (const auto& [flags, text] : requests) {
        SCOPED_TRACE(text.substr(0, 40));
        Sandbox sandbox;
        const Request request = MessageRequest(flags, text);
        ShownDialog dialog(request, sandbox, x);
        ASSERT_TRUE(x.WaitForPaint(dialog.Win(), kWindowTimeout));
        x.ClickCenter(x.BottomButtonRow(dialog.Win()).back());
        const Answer answer = dialog.Finish();
        EXPECT_EQ(answer.outcome, Outcome::Answered) << answer.problem;
        EXPECT_EQ(answer.exitStatus, 0);
    }
}

// "message_time" closes the dialog by itself; 0 means never.
TEST(Message, TimeOutFromTheSettings)
{
    Sandbox sandbox;
    sandbox.SetLocal("message_time", 2);
    sandbox.SetGlobal("message_time", 30);
    const auto started = Clock::now();
    const Answer answer = AskHelper(MessageRequest(130, "Time out"), sandbox);
    const auto took = Clock::now() - started;
    EXPECT_EQ(answer.code, xvtui::client::kCancelled);
    EXPECT_EQ(answer.exitStatus, 110);
    EXPECT_GT(took, 1s);
    EXPECT_LT(took, 10s);
}

TEST(Message, GlobalTimeOutAppliesWithoutALocalOne)
{
    Sandbox sandbox;
    sandbox.SetGlobal("message_time", 2);
    const auto started = Clock::now();
    const Answer answer = AskHelper(MessageRequest(0, "Global time out"), sandbox);
    const auto took = Clock::now() - started;
    EXPECT_EQ(answer.code, xvtui::client::kCancelled);
    EXPECT_GT(took, 1s);
    EXPECT_LT(took, 10s);
}

TEST(Message, LocalZeroDisablesTheTimeOut)
{
    Sandbox sandbox;
    sandbox.SetGlobal("message_time", 2);
    sandbox.SetLocal("message_time", 0);
    XClient x;
    const Request request = MessageRequest(0, "No time out");
    ShownDialog dialog(request, sandbox, x);
    EXPECT_FALSE(dialog.Process().WaitForExit(4s)) << "the dialog closed by itself";
    x.ClickCenter(x.BottomButtonRow(dialog.Win()).back());
    dialog.Finish();
    EXPECT_EQ(dialog.Output(), "XVTUI_dont_show_warning=false");
}

} // namespace
