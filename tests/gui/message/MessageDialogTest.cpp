// The message dialog on a real X server: only what the black-box tests cannot
// see, the texts as shown and a dialog destroyed while it runs.
#include <string>

#include "gui/base/GuiSupport.h"
#include "app/xvtui_exception.h"
#include "dialogs/message/MessageDialog.h"

namespace {

using MessageDialogGui = GuiTest;

// The mapped message window, or null.
GtkWidget* ShownMessage()
{
    return FindInToplevels("xvtui-message", true);
}

TEST_F(MessageDialogGui, ShowsTextAndCheckBoxAndSurvivesDestruction)
{
    const std::string text = "100% %s %d %n \xd0\x9f\xd1\x80\xd0\xb8"; // never read as a format
    for (const bool destroy : {false, true}) {
        std::string args[] = {"xvtui", "VTDisplayMessage", "130", text};
        char* argv[] = {args[0].data(), args[1].data(), args[2].data(), args[3].data(), nullptr};
        MessageDialog dialog(4, argv);
        std::string shownText, checkLabel;
        bool checkActive = false;
        WhenReady([&] {
            GtkWidget* shown = ShownMessage();
            if (shown == nullptr)
                return false;
            gchar* value = nullptr;
            g_object_get(shown, "text", &value, nullptr);
            shownText = value ? value : "";
            g_free(value);
            GtkWidget* check = FindNamed(shown, "xvtui-dont-show");
            checkLabel = check ? gtk_button_get_label(GTK_BUTTON(check)) : "";
            checkActive = check && gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(check));
            destroy ? gtk_widget_destroy(shown) : gtk_dialog_response(GTK_DIALOG(shown), GTK_RESPONSE_OK);
            return true;
        });
        // Destroyed meanwhile, the dialog keeps its default result.
        EXPECT_EQ(dialog.ShowDialog(), destroy ? ResultCode::Failed : 0u);
        EXPECT_EQ(shownText, text);
        EXPECT_EQ(checkLabel, "Do not show this warning again"); // catalogue text 2118
        EXPECT_TRUE(checkActive);
        EXPECT_EQ(ShownMessage(), nullptr);
    }
}

} // namespace
