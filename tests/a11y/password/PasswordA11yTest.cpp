// The password dialogs as a screen reader finds them on the accessibility
// bus, and answered with the keyboard alone.
#include "common/PasswordRequests.h"
#include "common/a11y/A11yDialog.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;

bool IsEntry(const A11yNode& node)
{
    return node.role == "password text";
}

bool FromHint(const A11yEvent& event)
{
    return event.sourceRole == "alert";
}

// Every entry is named by its caption and tied to it both ways; the first
// (`captions` lists them top down) has the focus; the window describes the
// request.
void ExpectEntriesNamed(const A11yNode& tree, std::vector<std::string> captions)
{
    EXPECT_EQ(tree.description, "Enter the PIN of the key container");
    const std::string first = captions.front();
    std::sort(captions.begin(), captions.end());
    EXPECT_EQ(NamesOf(tree, "password text"), captions);
    for (const A11yNode* entry : tree.FindAll(IsEntry)) {
        EXPECT_EQ(entry->labelledBy, std::vector<std::string>{entry->name});
        const A11yNode* caption =
            tree.Find([&](const A11yNode& n) { return n.role == "label" && n.name == entry->name; });
        ASSERT_NE(caption, nullptr) << entry->name;
        EXPECT_EQ(caption->labelFor, std::vector<std::string>{entry->name});
    }
    const A11yNode* focused = tree.Find([](const A11yNode& n) { return n.focused; });
    ASSERT_NE(focused, nullptr);
    EXPECT_EQ(focused->role, "password text");
    EXPECT_EQ(focused->name, first);
    // The information table: each value is labelled by its caption.
    for (const auto& [caption, value] : {std::pair{"Reader:", "Reader 0"}, {"Carrier:", "Carrier 17"}}) {
        const A11yNode* node = tree.FindName(value);
        ASSERT_NE(node, nullptr) << value;
        EXPECT_EQ(node->labelledBy, std::vector<std::string>{caption});
    }
}

TEST(PasswordA11y, PinEntryIsNamedAndItsWarningsAnnounced)
{
    AccessibilityBus& bus = PrivateAccessibilityBus();
    Sandbox sandbox;
    PasswordRequestArgs args = KeyContainerArgs("6");
    args.triesLeft = "2";
    A11yDialog dialog(bus, sandbox, PinRequest(args, 3, 3));
    const A11yNode& tree = dialog.Tree();
    ExpectEntriesNamed(tree, {"Enter the PIN:"});
    EXPECT_EQ(NamesOf(tree, "check box"),
              (std::vector<std::string>{"Require password for every operation", "Save password in system"}));
    const A11yNode* hint = tree.FindRole("alert");
    ASSERT_NE(hint, nullptr);
    EXPECT_EQ(hint->name.substr(0, hint->name.find('\n')), "Wrong PIN, 2 tries left");

    // Typing too little announces the too-short warning; the text typed is
    // nowhere on the bus, neither in the tree nor in any event.
    bus.TakeEvents();
    dialog.X().TypeText("Zq7");
    const auto shortWarning = bus.WaitForEvent(
        [](const A11yEvent& e) {
            return FromHint(e) && e.type == "object:property-change:accessible-name" &&
                   e.sourceName.find("Entered PIN is too short") != std::string::npos;
        },
        kWindowTimeout);
    EXPECT_TRUE(shortWarning.has_value());
    dialog.X().TypeText("Xw9");
    bus.WaitForEvent(
        [](const A11yEvent& e) {
            return FromHint(e) && e.sourceName.find("too short") == std::string::npos;
        },
        kWindowTimeout);
    bus.Drain();
    const std::vector<A11yEvent> events = bus.TakeEvents();
    const A11yNode& typed = dialog.Reread();
    ExpectAbsent("Zq7", typed, events);
    ExpectAbsent("Xw9", typed, events);
    // The entry's text is what the screen shows: one mask character a byte
    // typed here, none of the typed ones.
    const A11yNode* entry = typed.FindRole("password text");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(g_utf8_strlen(entry->text.value_or("").c_str(), -1), 6);
    EXPECT_EQ(entry->text.value_or("").find_first_of("Zq7Xw9"), std::string::npos);

    dialog.X().PressKey("Return");
    EXPECT_EQ(dialog.Dialog().Finish().exitStatus, 0);
    EXPECT_EQ(dialog.Dialog().Output(), PinAnswer(false, false, "Zq7Xw9"));
}

// An empty warning line announces nothing: typing where no warning applies
// sends no event from the warning line.
TEST(PasswordA11y, AnEmptyWarningStaysSilent)
{
    AccessibilityBus& bus = PrivateAccessibilityBus();
    Sandbox sandbox;
    A11yDialog dialog(bus, sandbox, PinRequest(KeyContainerArgs(), 3, 3));
    const A11yNode* hint = dialog.Tree().FindRole("alert");
    ASSERT_NE(hint, nullptr);
    EXPECT_EQ(hint->name, "");
    bus.Drain();
    bus.TakeEvents();
    dialog.X().TypeText("abc");
    bus.WaitForEvent([](const A11yEvent& e) { return e.sourceRole == "password text"; }, kWindowTimeout);
    bus.Drain();
    for (const A11yEvent& event : bus.TakeEvents())
        EXPECT_FALSE(FromHint(event)) << event.type << ": " << event.sourceName;
}

TEST(PasswordA11y, NewAndChangeEntriesAreNamedAndMismatchAnnounced)
{
    AccessibilityBus& bus = PrivateAccessibilityBus();
    Sandbox sandbox;
    A11yDialog dialog(bus, sandbox, ChangePasswordRequest(KeyContainerArgs()));
    ExpectEntriesNamed(dialog.Tree(), {"Enter the PIN:", "New PIN:", "Confirm PIN:"});
    bus.TakeEvents();
    for (const char* key : {"Tab", "Tab"})
        dialog.X().PressKey(key);
    dialog.X().TypeText("Pq4");
    EXPECT_TRUE(bus.WaitForEvent(
                       [](const A11yEvent& e) {
                           return FromHint(e) && e.sourceName.find("Input and confirmation do not match") !=
                                                     std::string::npos;
                       },
                       kWindowTimeout)
                    .has_value());
    bus.Drain();
    ExpectAbsent("Pq4", dialog.Reread(), bus.TakeEvents());

    Sandbox second;
    A11yDialog fresh(bus, second, NewPasswordRequest(KeyContainerArgs()));
    ExpectEntriesNamed(fresh.Tree(), {"New PIN:", "Confirm PIN:"});
}

// The countdown is a status bar whose changes reach the bus.
TEST(PasswordA11y, TheCountdownIsAnnounced)
{
    AccessibilityBus& bus = PrivateAccessibilityBus();
    Sandbox sandbox;
    sandbox.SetLocal("passwd_show_time", 600);
    A11yDialog dialog(bus, sandbox, NewPasswordRequest(KeyContainerArgs()));
    const auto tick = bus.WaitForEvent(
        [](const A11yEvent& e) {
            return e.sourceRole == "status bar" && e.type == "object:property-change:accessible-name" &&
                   e.sourceName.size() == 5 && e.sourceName[2] == ':';
        },
        kWindowTimeout);
    EXPECT_TRUE(tick.has_value());
}

// Answered and cancelled with keys only: Tab walks from the first entry
// through the boxes to OK and Cancel, space ticks, Enter answers.
TEST(PasswordKeyboard, AnsweredAndCancelledWithKeysOnly)
{
    const std::string& cancelled = kCancelledOutput;
    const struct {
        const char* what;
        Request request;
        std::vector<std::string> keys;
        std::string output;
    } cases[] = {
        {"PIN: both boxes ticked by keys, save last", PinRequest(KeyContainerArgs(), 3, 3),
         {"1", "Tab", "Tab", "space", "ISO_Left_Tab", "space", "Tab", "Tab", "Return"},
         PinAnswer(true, false, "1")},
        {"PIN: space on OK", PinRequest(KeyContainerArgs(), 3, 3), {"2", "Tab", "Tab", "Tab", "space"},
         PinAnswer(false, false, "2")},
        {"PIN: Cancel by Shift+Tab", PinRequest(KeyContainerArgs(), 3, 3), {"3", "ISO_Left_Tab", "Return"},
         cancelled},
        {"new: Cancel by Shift+Tab", NewPasswordRequest(KeyContainerArgs()), {"4", "ISO_Left_Tab", "Return"},
         cancelled},
        {"new: both fields, Tab to OK, space", NewPasswordRequest(KeyContainerArgs()),
         {"5", "Tab", "5", "Tab", "space"}, "XVTUI_passwd=5"},
        {"change: Cancel by Shift+Tab", ChangePasswordRequest(KeyContainerArgs()),
         {"6", "ISO_Left_Tab", "space"}, cancelled},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ExpectOutput(c.request, {Keys(c.keys)}, c.output);
    }
}

} // namespace
