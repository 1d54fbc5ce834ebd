// The message dialog as a screen reader finds it. Keys alone answer it in
// the black-box tests already (Enter, space, Escape).
#include "common/a11y/A11yDialog.h"

#include <gtest/gtest.h>

namespace {

using namespace testkit;
using namespace xvtui::client;

TEST(MessageA11y, TheMessageDescribesTheWindowAndTheBoxIsNamed)
{
    AccessibilityBus& bus = PrivateAccessibilityBus();
    Sandbox sandbox;
    const std::string text = "Old keys were found on this carrier.";
    A11yDialog dialog(bus, sandbox, MessageRequest(130, text));
    const A11yNode& tree = dialog.Tree();
    EXPECT_EQ(tree.description, text);
    EXPECT_NE(tree.FindName(text), nullptr);
    const A11yNode* box = tree.FindRole("check box");
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->name, "Do not show this warning again");
    EXPECT_TRUE(box->checked);
    EXPECT_EQ(NamesOf(tree, "push button"), (std::vector<std::string>{"Cancel", "OK"}));
    dialog.X().PressKey("Return");
    dialog.Dialog().Finish();
    EXPECT_EQ(dialog.Dialog().Output(), "XVTUI_dont_show_warning=true");
}

} // namespace
