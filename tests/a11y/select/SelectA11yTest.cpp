// The reader and container selections as a screen reader finds them, and
// the keys the black-box tests leave out.
#include "client/ContainerRequest.h"
#include "client/ReaderRequest.h"
#include "common/a11y/A11yDialog.h"

#include <gtest/gtest.h>

namespace {

using namespace testkit;
using namespace xvtui::client;

const std::vector<ReaderItem> kTwoReaders = {
    {{"FKN", "PKCS"}, {"Keys never leave the token", "PKCS#11 objects"}, "Token 4F2A1C"},
    {{"PKCS"}, {"PKCS#11 objects"}, "Reader 0"},
};

// The node of `role` named `caption`, checked to be labelled by it.
const A11yNode* Captioned(const A11yNode& tree, const std::string& role, const std::string& caption)
{
    const A11yNode* node = tree.Find([&](const A11yNode& n) { return n.role == role && n.name == caption; });
    EXPECT_NE(node, nullptr) << role << " named " << caption;
    if (node != nullptr) {
        EXPECT_EQ(node->labelledBy, std::vector<std::string>{caption});
    }
    return node;
}

TEST(SelectReaderA11y, ListDropDownAndDescriptionAreNamedByTheirCaptions)
{
    AccessibilityBus& bus = PrivateAccessibilityBus();
    Sandbox sandbox;
    const std::string prompt = "Select the reader for the new key container";
    A11yDialog dialog(bus, sandbox, SelectReaderRequest(prompt, kTwoReaders));
    const A11yNode& tree = dialog.Tree();
    EXPECT_EQ(tree.description, prompt);
    if (const A11yNode* list = Captioned(tree, "list", prompt); list != nullptr) {
        EXPECT_NE(list->FindName("Token 4F2A1C"), nullptr);
        EXPECT_NE(list->FindName("Reader 0"), nullptr);
    }
    Captioned(tree, "combo box", "Applet type:");
    if (const A11yNode* view = Captioned(tree, "text", "Description:")) {
        EXPECT_EQ(view->text.value_or(""), "Keys never leave the token");
    }
    // OK has the focus at start, as before.
    const A11yNode* focused = tree.Find([](const A11yNode& n) { return n.focused; });
    ASSERT_NE(focused, nullptr);
    EXPECT_EQ(focused->name, "OK");
}

TEST(SelectContainerA11y, TableColumnsAndTheRadioGroupAreNamed)
{
    AccessibilityBus& bus = PrivateAccessibilityBus();
    Sandbox sandbox;
    A11yDialog dialog(bus, sandbox,
                      ContainerRequest({{"First key", 0, "u-1", R"(\\.\HDIMAGE\one)"},
                                        {"Second key", 0, "u-2", R"(\\.\FLASH\two)"}}));
    const A11yNode& tree = dialog.Tree();
    EXPECT_EQ(tree.description, "Select a key container:");
    if (const A11yNode* table = Captioned(tree, "table", "Select a key container:")) {
        EXPECT_EQ(table->columns, (std::vector<std::string>{"Key container", "Friendly name"}));
        EXPECT_NE(table->FindName("Second key"), nullptr);
        EXPECT_TRUE(table->focused || table->Find([](const A11yNode& n) { return n.focused; }) != nullptr);
    }
    Captioned(tree, "filler", "Show the containers by:");
    EXPECT_EQ(NamesOf(tree, "radio button"), (std::vector<std::string>{"Friendly name", "Unique name"}));

    // The other radio button, chosen by keys, renames the second column.
    dialog.X().PressKey("Tab");
    dialog.X().PressKey("Right");
    const A11yNode shown = bus.WaitForWindow(
        dialog.Dialog().Process().Pid(),
        [](const A11yNode& n) {
            return n.role == "table" && n.columns == std::vector<std::string>{"Key container", "Unique name"};
        },
        kWindowTimeout);
    EXPECT_NE(shown.FindName("u-2"), nullptr);
}

TEST(SelectContainerKeyboard, RadioButtonsAndCancelByKeys)
{
    const std::string& cancelled = kCancelledOutput;
    const std::vector<ContainerRecord> two = {{"First key", 0, "u-1", "one"}, {"Second key", 0, "u-2", "two"}};
    const auto answer = [](const std::string& friendly, const std::string& primary) {
        const auto item = xvtui::protocol::SelectAnswer(friendly, primary);
        return std::string(reinterpret_cast<const char*>(&item), sizeof item);
    };
    const struct {
        const char* what;
        std::vector<std::string> keys;
        std::string output;
    } cases[] = {
        {"unique names by arrow, back to the table, second row", {"Tab", "Right", "ISO_Left_Tab", "Down", "Return"},
         answer("Second key", "two")},
        {"Tab to OK, space", {"Down", "Tab", "Tab", "space"}, answer("Second key", "two")},
        {"Tab to Cancel, Enter", {"Tab", "Tab", "Tab", "Return"}, cancelled},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ExpectOutput(ContainerRequest(two), {Keys(c.keys)}, c.output);
    }
}

} // namespace
