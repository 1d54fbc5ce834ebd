// The password dialogs seen from the parent: the built helper runs as the
// provider runs it ("VTQueryPinEx", control words on standard input for the
// PIN dialog), is driven with real key presses and clicks, and its answer is
// read back byte for byte. Its time-outs are watched by waiting on the process.
#include "common/Blackbox.h"
#include "common/PasswordRequests.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kCancelled = "ret=2148532334";
const std::string kKey = "XVTUI_passwd=", kOldKey = "XVTUI_old_passwd=";

PasswordRequestArgs Args(const char* minLength = "0", const char* minNewLength = "0")
{
    return KeyContainerArgs(minLength, minNewLength);
}

// Types each text into the next field, Tab between them, then Enter.
Act Fill(std::vector<std::string> fields)
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

// Exact answers with status 0, or the cancel code with 110. The PIN dialog's
// OK is the left button, Cancel the right one; its check boxes are the save
// box, then the don't-cache box. While the two- and three-entry dialogs'
// fields disagree or are too short, Enter does nothing: the dialog stays to
// be cancelled.
TEST(PasswordBlackbox, TheAnswerIsExactlyWhatWasTypedAndTicked)
{
    struct Case {
        const char* what;
        Request request;
        std::vector<Act> acts;
        std::string output;
    };
    const std::string cyrillic = "\xd0\xbf\xd0\xb8\xd0\xbd 1"; // "пин 1"
    const Act enter = Press("Return"), cancel = ClickButton(1);
    // The provider's texts are not checked: bytes that are not UTF-8 are shown
    // replaced, without a toolkit warning (fatal in the sandbox).
    PasswordRequestArgs notUtf8 = Args("4");
    notUtf8.title = "\xe9t\xe9";
    notUtf8.header = "Carte \xff\xfe";
    notUtf8.readerName = "\xc3";
    notUtf8.passwordTerm = "PIN\xd0"; // also inside the warnings and the caption
    // Nor are the control words: input that ends early leaves the missing words
    // at 0 (a box shown, changeable and unticked).
    const auto cutInput = [](size_t bytes) {
        Request request = PinRequest(Args(), 7, 7);
        request.input = secure::String(request.input.view().substr(0, bytes));
        return request;
    };
    const Case cases[] = {
        {"ticked save box", PinRequest(Args("4"), 7, 3), {Type("abcd"), enter}, PinAnswer(true, false, "abcd")},
        {"boxes as words 0: shown, unticked", PinRequest(Args(), 0, 0), {Type("1234"), enter},
         PinAnswer(false, false, "1234")},
        {"both ticked at set-up, one fixed", PinRequest(Args(), 5, 7), {Type("p"), enter}, PinAnswer(true, true, "p")},
        {"bits above the third ignored", PinRequest(Args(), 0x103, 0x107), {Type("q"), enter},
         PinAnswer(false, true, "q")},
        {"empty PIN, no minimum", PinRequest(Args(), 3, 3), {enter}, PinAnswer(false, false, "")},
        {"keys inside the PIN", PinRequest(Args(), 3, 3), {Type("XVTUI_passwd=x"), enter},
         PinAnswer(false, false, "XVTUI_passwd=x")},
        {"Cyrillic, counted in bytes", PinRequest(Args("8"), 3, 3), {Type(cyrillic), enter},
         PinAnswer(false, false, cyrillic)},
        {"Enter refused while too short", PinRequest(Args("4"), 3, 3), {Type("abc"), enter, Type("d"), enter},
         PinAnswer(false, false, "abcd")},
        {"ticking one box unticks the other", PinRequest(Args(), 3, 7), {Type("x"), ClickBox(0), ClickButton(0)},
         PinAnswer(true, false, "x")},
        {"a box unticked by the user", PinRequest(Args(), 7, 3), {Type("x"), ClickBox(0), ClickButton(0)},
         PinAnswer(false, false, "x")},
        {"texts not UTF-8", PinRequest(notUtf8, 3, 3), {Type("abc"), enter, Type("d"), enter},
         PinAnswer(false, false, "abcd")},
        {"input closed before the words", cutInput(0), {Type("abc"), enter}, PinAnswer(false, false, "abc")},
        {"the save word only", cutInput(4), {Type("abc"), enter}, PinAnswer(true, false, "abc")},
        {"half a word", cutInput(2), {Type("abc"), enter}, PinAnswer(false, false, "abc")},
        {"PIN: Cancel clicked", PinRequest(Args(), 7, 3), {Type("abcd"), cancel}, std::string(kCancelled)},
        {"PIN: window closed", PinRequest(Args(), 7, 3), {Type("abcd"), Close()}, std::string(kCancelled)},
        // The new password is written unchanged, whatever it holds.
        {"new", NewPasswordRequest(Args()), {Fill({"n3w-Secret!", "n3w-Secret!"})}, kKey + "n3w-Secret!"},
        {"new: key inside", NewPasswordRequest(Args()), {Fill({"aXVTUI_passwd=b", "aXVTUI_passwd=b"})},
         kKey + "aXVTUI_passwd=b"},
        {"new: the key alone", NewPasswordRequest(Args()), {Fill({kKey, kKey})}, kKey + kKey},
        {"new: Cyrillic", NewPasswordRequest(Args()), {Fill({cyrillic, cyrillic})}, kKey + cyrillic},
        {"new: empty", NewPasswordRequest(Args()), {Fill({"", ""})}, kKey},
        {"change", ChangePasswordRequest(Args("3", "3")), {Fill({"0ld-PIN", "n3w-PIN", "n3w-PIN"})},
         kOldKey + "0ld-PIN" + kKey + "n3w-PIN"},
        {"change: key inside the old", ChangePasswordRequest(Args("3", "3")),
         {Fill({"XVTUI_passwd=old", "n3w", "n3w"})}, kOldKey + "XVTUI_passwd=old" + kKey + "n3w"},
        {"change: key ending the old", ChangePasswordRequest(Args("3", "3")), {Fill({"oXVTUI_passwd=", "n3w", "n3w"})},
         kOldKey + "oXVTUI_passwd=" + kKey + "n3w"},
        {"new: one byte differs", NewPasswordRequest(Args("4", "6")), {Fill({"abcdef", "abcdeg"}), enter, cancel},
         std::string(kCancelled)},
        {"new: confirmation a prefix", NewPasswordRequest(Args("4", "6")), {Fill({"abcdef", "abcde"}), cancel},
         std::string(kCancelled)},
        {"new: equal but short", NewPasswordRequest(Args("4", "6")), {Fill({"abc", "abc"}), cancel},
         std::string(kCancelled)},
        {"change: new ones differ", ChangePasswordRequest(Args("4", "6")),
         {Fill({"current", "abcdef", "abcdeF"}), enter, cancel}, std::string(kCancelled)},
        {"change: current too short", ChangePasswordRequest(Args("4", "6")), {Fill({"cur", "abcdef", "abcdef"}), cancel},
         std::string(kCancelled)},
        {"new: corrected after a refused Enter", NewPasswordRequest(Args("0", "6")),
         {Fill({"abcdef", "abcdeg"}), Press("BackSpace"), Type("f"), enter}, kKey + "abcdef"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Sandbox sandbox;
        const Reply run = Drive(c.request, c.acts, sandbox);
        EXPECT_EQ(run.output, c.output);
        const bool cancelled = c.output == kCancelled;
        EXPECT_EQ(run.answer.exitStatus, cancelled ? 110 : 0);
        EXPECT_EQ(run.answer.outcome, cancelled ? Outcome::Refused : Outcome::Answered) << run.answer.problem;
    }
}

// Refused before any window opens (a window would keep it past the deadline).
TEST(PinBlackbox, NineteenArgumentsAreRefused)
{
    Sandbox sandbox;
    std::vector<std::string> arguments = PinRequest(Args(), 3, 3).arguments;
    arguments.pop_back();
    const Answer answer = AskHelper(RawRequest(arguments), sandbox);
    EXPECT_EQ(answer.outcome, Outcome::Refused);
    EXPECT_EQ(answer.code, kBadArguments);
    EXPECT_EQ(answer.exitStatus, 87);
}

// "passwd_time" 0 cancels at the first tick of the one-second timer.
TEST(PinBlackbox, ZeroTimeCancelsAfterAboutOneSecond)
{
    Sandbox sandbox;
    sandbox.SetLocal("passwd_time", 0);
    XClient x;
    ShownDialog dialog(PinRequest(Args(), 3, 3), sandbox, x);
    const auto took = RunsFor(dialog);
    EXPECT_EQ(dialog.Finish().exitStatus, 110);
    EXPECT_EQ(dialog.Output(), kCancelled);
    EXPECT_GT(took, 300ms);
    EXPECT_LT(took, 3s);
}

// With "passwd_resume_time" every change of the entry sets the time left
// back. "passwd_time" 2 alone ends the dialog at its third tick; a key every
// second keeps it open well beyond that, and it ends about three seconds
// after the last key.
TEST(PinBlackbox, TypingRestartsTheCountdownFromTheResumeTime)
{
    Sandbox sandbox;
    sandbox.SetLocal("passwd_time", 2);
    sandbox.SetLocal("passwd_resume_time", 3);
    XClient x;
    ShownDialog dialog(PinRequest(Args(), 3, 3), sandbox, x);
    const auto shown = Clock::now();
    auto lastKey = shown;
    for (int key = 0; key < 4; ++key) {
        x.TypeText("7");
        lastKey = Clock::now();
        ASSERT_FALSE(dialog.Process().WaitForExit(1s)) << "ended after key " << key;
    }
    EXPECT_GT(Clock::now() - shown, 3500ms); // longer than the dialog lives without typing
    ASSERT_TRUE(dialog.Process().WaitForExit(kAnswerTimeout));
    const auto quiet = Clock::now() - lastKey;
    const Answer answer = dialog.Finish();
    EXPECT_EQ(dialog.Output(), kCancelled);
    EXPECT_GT(quiet, 2500ms);
    EXPECT_LT(quiet, 5500ms);
}

// The countdown sits in the top right corner, above the header. With a
// total of 75 seconds it appears at the first tick only when the show time
// reaches the total; with the default 60 the corner stays empty for the
// first fifteen ticks (which are counted exactly by the frame's own tests).
TEST(PinBlackbox, CountdownShowsOnlyWithinTheShowTime)
{
    const struct {
        long long showTime;
        bool shown;
    } cases[] = {{60, false}, {75, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.showTime);
        Sandbox sandbox;
        sandbox.SetLocal("passwd_time", 75);
        sandbox.SetLocal("passwd_show_time", c.showTime);
        XClient x;
        ShownDialog dialog(PinRequest(Args(), 3, 3), sandbox, x);
        // The timer starts before the window shows: 1.5 s holds its first tick.
        ASSERT_FALSE(dialog.Process().WaitForExit(1500ms));
        ASSERT_TRUE(x.WaitForPaint(dialog.Win(), kWindowTimeout));
        const int width = x.Geometry(dialog.Win()).width;
        EXPECT_EQ(x.Uniform(dialog.Win(), {width / 2, 0, width / 2, 30}), !c.shown);
        // The header below is drawn either way: the corner test sees pixels.
        EXPECT_FALSE(x.Uniform(dialog.Win(), {0, 30, width, 30}));
    }
}

} // namespace
