// The password/PIN dialog seen from the parent: the built helper runs as the
// provider runs it (twenty arguments, two control words on standard input),
// is driven with real key presses and clicks, and its answer is read back
// byte for byte. Its time-outs are watched by waiting on the process.
#include "client/PasswordRequest.h"
#include "common/Blackbox.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kCancelled = "ret=2148532334";

PasswordRequestArgs Args(const char* minLength = "0")
{
    PasswordRequestArgs args;
    args.title = "PIN";
    args.header = "Enter the PIN of the key container";
    args.readerName = "Reader 0";
    args.carrierName = "Carrier 17";
    args.containerName = "keys";
    args.passwordTerm = "PIN";
    args.minPasswordLength = minLength;
    return args;
}

// The dialog's check buttons, top to bottom: the save box, then the
// don't-cache box (everything above the OK/Cancel row).
std::vector<Rect> CheckBoxes(XClient& x, XWindow window)
{
    std::vector<Rect> all = x.ButtonWindows(window);
    const std::vector<Rect> bottom = x.BottomButtonRow(window);
    all.resize(all.size() - bottom.size());
    return all;
}

std::string PinAnswer(bool save, bool dontCache, const std::string& password)
{
    return std::string(kSavePasswdKey) + (save ? "true" : "false") + std::string(kDontCacheKey) +
           (dontCache ? "true" : "false") + std::string(kPasswdKey) + password;
}

// What the user does in the dialog, before the helper's answer is read.
using Act = std::function<void(XClient&, XWindow)>;

Act Type(std::string text)
{
    return [text](XClient& x, XWindow) { x.TypeText(text); };
}
Act Press(std::string key)
{
    return [key](XClient& x, XWindow) { x.PressKey(key); };
}
Act ClickBox(size_t index)
{
    return [index](XClient& x, XWindow window) {
        const std::vector<Rect> boxes = CheckBoxes(x, window);
        ASSERT_EQ(boxes.size(), 2u);
        x.ClickCenter(boxes[index]);
    };
}
// Clicks a button of the bottom row: 0 is OK, 1 Cancel.
Act ClickButton(size_t index)
{
    return [index](XClient& x, XWindow window) {
        const std::vector<Rect> buttons = x.BottomButtonRow(window);
        ASSERT_EQ(buttons.size(), 2u);
        x.ClickCenter(buttons[index]);
    };
}
Act Close()
{
    return [](XClient& x, XWindow window) { x.SendDeleteWindow(window); };
}

struct Reply {
    std::string output;
    Answer answer;
};

Reply Drive(Request request, const std::vector<Act>& acts, Sandbox& sandbox)
{
    XClient x;
    ShownDialog dialog(request, sandbox, x);
    for (const Act& act : acts)
        act(x, dialog.Win());
    Reply run;
    run.answer = dialog.Finish();
    run.output = dialog.Output();
    return run;
}

TEST(PinBlackbox, TheAnswerIsExactlyWhatWasTypedAndTicked)
{
    struct Case {
        const char* what;
        std::uint32_t saveBox;
        std::uint32_t dontCacheBox;
        const char* minLength;
        std::vector<Act> acts;
        std::string output; // exactly, status 0
    };
    const std::string cyrillic = "\xd0\xbf\xd0\xb8\xd0\xbd 1"; // "пин 1"
    const Case cases[] = {
        {"ticked save box", 7, 3, "4", {Type("abcd"), Press("Return")}, PinAnswer(true, false, "abcd")},
        {"boxes as words 0: shown, unticked", 0, 0, "0", {Type("1234"), Press("Return")},
         PinAnswer(false, false, "1234")},
        {"both ticked at set-up, one fixed", 5, 7, "0", {Type("p"), Press("Return")}, PinAnswer(true, true, "p")},
        {"bits above the third ignored", 0x103, 0x107, "0", {Type("q"), Press("Return")},
         PinAnswer(false, true, "q")},
        {"empty PIN, no minimum", 3, 3, "0", {Press("Return")}, PinAnswer(false, false, "")},
        {"keys inside the PIN", 3, 3, "0", {Type("XVTUI_passwd=x"), Press("Return")},
         PinAnswer(false, false, "XVTUI_passwd=x")},
        {"Cyrillic, counted in bytes", 3, 3, "8", {Type(cyrillic), Press("Return")},
         PinAnswer(false, false, cyrillic)},
        {"Enter refused while too short", 3, 3, "4",
         {Type("abc"), Press("Return"), Type("d"), Press("Return")}, PinAnswer(false, false, "abcd")},
        {"ticking one box unticks the other", 3, 7, "0", {Type("x"), ClickBox(0), ClickButton(0)},
         PinAnswer(true, false, "x")},
        {"a box unticked by the user", 7, 3, "0", {Type("x"), ClickBox(0), ClickButton(0)},
         PinAnswer(false, false, "x")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Sandbox sandbox;
        const Reply run = Drive(PinRequest(Args(c.minLength), c.saveBox, c.dontCacheBox), c.acts, sandbox);
        EXPECT_EQ(run.output, c.output);
        EXPECT_EQ(run.answer.exitStatus, 0);
        EXPECT_EQ(run.answer.outcome, Outcome::Answered) << run.answer.problem;
    }
}

// The provider's texts are not checked: bytes that are not UTF-8 are shown
// replaced, without a single toolkit warning (made fatal here).
TEST(PinBlackbox, TextsThatAreNotUtf8AreShownWithoutWarnings)
{
    PasswordRequestArgs args = Args("4");
    args.title = "\xe9t\xe9";
    args.header = "Carte \xff\xfe";
    args.readerName = "\xc3";
    args.passwordTerm = "PIN\xd0"; // also inside the warnings and the caption
    Sandbox sandbox;
    sandbox.SetEnv("G_DEBUG", "fatal-warnings");
    const Reply run = Drive(PinRequest(args, 3, 3), {Type("abc"), Press("Return"), Type("d"), Press("Return")},
                            sandbox);
    EXPECT_EQ(run.output, PinAnswer(false, false, "abcd"));
    EXPECT_EQ(run.answer.exitStatus, 0);
}

// The control words are not checked: input that ends early leaves the
// missing words at 0 (a box shown, changeable and unticked).
TEST(PinBlackbox, InputClosedBeforeTheControlWordsIsNoError)
{
    const struct {
        const char* what;
        size_t bytes; // of the eight the request carries
        bool save;
    } cases[] = {
        {"no word at all", 0, false},
        {"the save word only", 4, true},
        {"half a word", 2, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Sandbox sandbox;
        Request request = PinRequest(Args(), 7, 7);
        secure::String input(request.input.view().substr(0, c.bytes));
        request.input = std::move(input);
        const Reply run = Drive(request, {Type("abc"), Press("Return")}, sandbox);
        EXPECT_EQ(run.output, PinAnswer(c.save, false, "abc"));
        EXPECT_EQ(run.answer.exitStatus, 0);
    }
}

TEST(PinBlackbox, CancelAndCloseAnswerTheCancelCode)
{
    const struct {
        const char* what;
        std::vector<Act> acts;
    } cases[] = {
        {"Cancel clicked", {Type("abcd"), ClickButton(1)}},
        {"window closed", {Type("abcd"), Close()}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Sandbox sandbox;
        const Reply run = Drive(PinRequest(Args(), 7, 3), c.acts, sandbox);
        EXPECT_EQ(run.output, kCancelled);
        EXPECT_EQ(run.answer.outcome, Outcome::Refused);
        EXPECT_EQ(run.answer.exitStatus, 110);
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
    const auto shown = Clock::now();
    ASSERT_TRUE(dialog.Process().WaitForExit(kAnswerTimeout));
    const auto took = Clock::now() - shown;
    const Answer answer = dialog.Finish();
    EXPECT_EQ(dialog.Output(), kCancelled);
    EXPECT_EQ(answer.exitStatus, 110);
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

// True when the rectangle of the PNG holds one colour only.
bool Blank(const std::string& png, int x0, int y0, int x1, int y1)
{
    GError* error = nullptr;
    GdkPixbuf* image = gdk_pixbuf_new_from_file(png.c_str(), &error);
    if (image == nullptr) {
        ADD_FAILURE() << "cannot read " << png << ": " << (error ? error->message : "?");
        g_clear_error(&error);
        return false;
    }
    const int stride = gdk_pixbuf_get_rowstride(image);
    const int channels = gdk_pixbuf_get_n_channels(image);
    const guchar* pixels = gdk_pixbuf_get_pixels(image);
    x1 = std::min(x1, gdk_pixbuf_get_width(image));
    y1 = std::min(y1, gdk_pixbuf_get_height(image));
    bool blank = true;
    for (int y = y0; y < y1 && blank; ++y) {
        for (int x = x0; x < x1 && blank; ++x) {
            const guchar* p = pixels + y * stride + x * channels;
            blank = std::equal(p, p + 3, pixels + y0 * stride + x0 * channels);
        }
    }
    g_object_unref(image);
    return blank;
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
        const std::string png = sandbox.Path("dialog.png");
        x.Screenshot(dialog.Win(), png);
        const Rect window = x.Geometry(dialog.Win());
        EXPECT_EQ(Blank(png, window.width / 2, 0, window.width, 30), !c.shown);
        // The header below is drawn either way: the corner test sees pixels.
        EXPECT_FALSE(Blank(png, 0, 30, window.width, 60));
    }
}

} // namespace
