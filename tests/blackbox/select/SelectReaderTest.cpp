// The reader selection as the provider sees it: the built helper started
// with reader options, driven with real clicks and keys, its answer read
// back byte for byte.
#include "client/ReaderRequest.h"
#include "common/Blackbox.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;

const std::vector<ReaderItem> kThreeReaders = {
    {{"A", "B"}, {"DA", "DB"}, "R1"},
    {{"C", "D", "E"}, {"DC", "DD", "DE"}, "R2"},
    {{"F"}, {"DF"}, "R3"},
};

Request Raw(std::vector<std::string> options)
{
    options.insert(options.begin(), {"VTSelectReader", ""});
    return RawRequest(std::move(options));
}

// Clicks the list's item `index` (the list items are the topmost leaf windows).
Act ClickReader(size_t index)
{
    return [index](XClient& x, XWindow window) {
        const std::vector<Rect> leaves = x.LeafWindows(window);
        ASSERT_GT(leaves.size(), index);
        x.ClickCenter(leaves[index]);
    };
}
// Opens the drop-down (the one clickable above the buttons) and clicks its
// entry `index`.
Act ChooseApplet(size_t index)
{
    return [index](XClient& x, XWindow window) {
        ClickBox(0)(x, window);
        const XWindow menu = x.WaitForPopup(kWindowTimeout);
        ASSERT_NE(menu, kNoWindow);
        ASSERT_TRUE(x.WaitForPaint(menu, kWindowTimeout));
        const std::vector<Rect> entries = x.ButtonWindows(menu);
        ASSERT_GT(entries.size(), index);
        x.ClickCenter(entries[index]);
        ASSERT_TRUE(x.WaitForUnmap(menu, kWindowTimeout)); // the next click must not find it
    };
}
const Act kOk = ClickButton(0), kCancel = ClickButton(1);

// From OK, the focused button at start, back to the list, whose last item
// takes the focus and the selection.
const Act kToTheList = Keys({"ISO_Left_Tab", "ISO_Left_Tab", "ISO_Left_Tab"});

TEST(SelectReaderBlackbox, AnswersTheChosenReaderAndApplet)
{
    const std::string no = kCancelledOutput;
    const struct {
        const char* what;
        Request request;
        std::vector<Act> acts;
        std::string output;
    } cases[] = {
        {"arguments end after a name", Raw({"-name", "R"}), {kOk}, "name=R;applet="},
        {"names pass unescaped", SelectReaderRequest("", {{{"x;applet=y"}, {"="}, "a=b;applet=c"}}),
         {Press("Return")}, "name=a=b;applet=c;applet=x;applet=y"},
        {"clicks: reader, drop-down, OK", SelectReaderRequest("Pick one", kThreeReaders),
         {ClickReader(1), ChooseApplet(2), kOk}, "name=R2;applet=E"},
        {"clicks: back to the first applet", SelectReaderRequest("", kThreeReaders),
         {ChooseApplet(1), ChooseApplet(0), kOk}, "name=R1;applet=A"},
        {"clicks: there and back", SelectReaderRequest("", kThreeReaders),
         {ClickReader(1), ClickReader(2), ClickReader(0), kOk}, "name=R1;applet=A"},
        {"keys: list, drop-down, Enter", SelectReaderRequest("", kThreeReaders),
         {kToTheList, Keys({"Up", "Tab", "Down", "Down", "Tab", "Tab", "Return"})}, "name=R2;applet=E"},
        {"keys: down and up again", SelectReaderRequest("", kThreeReaders),
         {kToTheList, Keys({"Up", "Up", "Down", "Tab", "Down", "Tab", "Tab", "space"})}, "name=R2;applet=D"},
        {"keys: Shift+Tab leaves the list for Cancel", SelectReaderRequest("", kThreeReaders),
         {kToTheList, Keys({"Up", "ISO_Left_Tab", "Return"})}, no},
        {"Cancel", SelectReaderRequest("", kThreeReaders), {ClickReader(1), kCancel}, no},
        // No readers: OK does nothing, Enter reaches the focused Cancel.
        {"no readers: Enter", Raw({}), {Press("Return")}, no},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ExpectOutput(c.request, c.acts, c.output);
    }
}

// The reader list decodes into the reader and applet fields.
TEST(SelectReaderBlackbox, TheClientReadsReaderAndApplet)
{
    Sandbox sandbox;
    const Reply run = Drive(SelectReaderRequest("", kThreeReaders), {ClickReader(2), kOk}, sandbox);
    ASSERT_EQ(run.answer.outcome, Outcome::Answered) << run.answer.problem;
    ASSERT_EQ(run.answer.fields.size(), 2u);
    EXPECT_EQ(run.answer.fields[0].key + std::string(run.answer.fields[0].value.view()), "name=R3");
    EXPECT_EQ(run.answer.fields[1].key + std::string(run.answer.fields[1].value.view()), "applet=F");
}

// The prompt's bytes are shown as they came, whatever the locale: its pixels
// are the same in English and Russian, while the buttons below change.
TEST(SelectReaderBlackbox, APromptIsShownAsGivenInEveryLocale)
{
    const std::string prompt = "\xd0\x92\xd1\x8b\xd0\xb1\xd0\xb5\xd1\x80\xd0\xb8\xd1\x82\xd0\xb5 \xc2\xab"
                               "Token\xc2\xbb \xe2\x84\x96" "2"; // "Выберите «Token» №2"
    struct Seen {
        std::vector<unsigned long> prompt, buttons;
    };
    const auto look = [&](const std::string& locale, const std::string& text) {
        Sandbox sandbox;
        sandbox.SetEnv("LC_ALL", locale);
        sandbox.SetEnv("LANG", locale);
        XClient x;
        ShownDialog dialog(SelectReaderRequest(text, kThreeReaders), sandbox, x);
        EXPECT_TRUE(x.WaitForPaint(dialog.Win(), kWindowTimeout));
        const Rect size = x.Geometry(dialog.Win());
        const std::vector<Rect> row = x.BottomButtonRow(dialog.Win());
        Seen seen{x.Pixels(dialog.Win(), {0, 0, size.width, 55}),
                  x.Pixels(dialog.Win(), {0, row.front().y - size.y, size.width, row.front().height})};
        x.SendDeleteWindow(dialog.Win());
        dialog.Finish();
        EXPECT_EQ(dialog.Output(), kCancelledOutput);
        return seen;
    };
    const Seen english = look("C.UTF-8", prompt), russian = look("ru_RU.UTF-8", prompt);
    const Seen builtIn = look("C.UTF-8", "");
    EXPECT_TRUE(english.prompt == russian.prompt);
    EXPECT_FALSE(english.buttons == russian.buttons) << "the Russian locale was not in effect";
    EXPECT_FALSE(english.prompt == builtIn.prompt);
}

} // namespace
