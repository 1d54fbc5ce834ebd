// The message dialog on a real X server, driven through its widgets.
#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "GuiSupport.h"
#include "app/xvtui_exception.h"
#include "dialogs/message/MessageDialog.h"

namespace {

using MessageDialogGui = GuiTest;

// A message dialog for the arguments after the keyword, as the factory builds it.
std::unique_ptr<MessageDialog> Make(std::vector<std::string> args)
{
    args.insert(args.begin(), {"xvtui", "VTDisplayMessage"});
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    return std::make_unique<MessageDialog>(static_cast<int>(args.size()), argv.data());
}

// Once the message dialog is on screen, hands it to `act`.
void WhenShown(std::function<void(GtkWidget*)> act)
{
    WhenReady([act] {
        GtkWidget* shown = FindMappedToplevel("xvtui-message");
        if (shown == nullptr)
            return false;
        act(shown);
        return true;
    });
}

void ClickResponse(GtkWidget* dialog, gint response)
{
    GtkWidget* button = gtk_dialog_get_widget_for_response(GTK_DIALOG(dialog), response);
    ASSERT_NE(button, nullptr) << response;
    gtk_button_clicked(GTK_BUTTON(button));
}

std::string Answer(const MessageDialog& dialog)
{
    testing::internal::CaptureStdout();
    dialog.PrintResultToPipe();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// The texts of the labels under `root`, in tree order.
void CollectLabels(GtkWidget* root, std::vector<std::string>& texts)
{
    if (GTK_IS_LABEL(root))
        texts.emplace_back(gtk_label_get_text(GTK_LABEL(root)));
    if (GTK_IS_CONTAINER(root)) {
        GList* children = gtk_container_get_children(GTK_CONTAINER(root));
        for (GList* item = children; item != nullptr; item = item->next)
            CollectLabels(GTK_WIDGET(item->data), texts);
        g_list_free(children);
    }
}

TEST_F(MessageDialogGui, FlagsChooseButtonsAndCheckBox)
{
    struct Case {
        const char* flags;
        bool cancel;
        bool check;
    };
    const Case cases[] = {
        {"0", false, false}, {"2", true, false}, {"128", false, true}, {"130", true, true},
        {"-1", true, true},  {"", false, false}, {" 2", true, false},  {"4294967298", true, false},
    };
    for (const Case& c : cases) {
        auto dialog = Make({c.flags, "Text"});
        bool seen = false;
        WhenShown([&](GtkWidget* shown) {
            seen = true;
            EXPECT_NE(gtk_dialog_get_widget_for_response(GTK_DIALOG(shown), GTK_RESPONSE_OK), nullptr);
            EXPECT_EQ(gtk_dialog_get_widget_for_response(GTK_DIALOG(shown), GTK_RESPONSE_CANCEL) != nullptr,
                      c.cancel)
                << c.flags;
            GtkWidget* check = FindNamed(shown, "xvtui-dont-show");
            EXPECT_EQ(check != nullptr, c.check) << c.flags;
            if (check != nullptr) {
                EXPECT_TRUE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(check)));
                EXPECT_TRUE(gtk_widget_get_visible(check));
                // Catalogue text 2118 from the build tree's English catalogue.
                EXPECT_STRNE(gtk_button_get_label(GTK_BUTTON(check)), "");
            }
            EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(shown)), "Veltro CSP");
            ClickResponse(shown, GTK_RESPONSE_OK);
        });
        EXPECT_EQ(dialog->ShowDialog(), 0u) << c.flags;
        EXPECT_TRUE(seen);
        EXPECT_EQ(dialog->IsOldKeysWarning(), c.check);
        EXPECT_EQ(Answer(*dialog), c.check ? "XVTUI_dont_show_warning=true" : "XVTUI_dont_show_warning=false");
    }
}

TEST_F(MessageDialogGui, AnswersFollowTheUser)
{
    struct Case {
        const char* what;
        std::function<void(GtkWidget*)> act;
        std::uint32_t result;
        const char* answer; // after result 0
    };
    const Case cases[] = {
        {"untick then OK",
         [](GtkWidget* shown) {
             gtk_button_clicked(GTK_BUTTON(FindNamed(shown, "xvtui-dont-show")));
             ClickResponse(shown, GTK_RESPONSE_OK);
         },
         0, "XVTUI_dont_show_warning=false"},
        {"Cancel", [](GtkWidget* shown) { ClickResponse(shown, GTK_RESPONSE_CANCEL); }, ResultCode::Cancelled,
         nullptr},
        {"Escape closes", [](GtkWidget* shown) { gtk_dialog_response(GTK_DIALOG(shown), GTK_RESPONSE_DELETE_EVENT); },
         ResultCode::Cancelled, nullptr},
        {"destroyed meanwhile", [](GtkWidget* shown) { gtk_widget_destroy(shown); }, ResultCode::Failed, nullptr},
    };
    for (const Case& c : cases) {
        auto dialog = Make({"130", "Old keys"});
        WhenShown(c.act);
        EXPECT_EQ(dialog->ShowDialog(), c.result) << c.what;
        if (c.answer != nullptr) {
            EXPECT_EQ(Answer(*dialog), c.answer) << c.what;
        }
        EXPECT_EQ(FindMappedToplevel("xvtui-message"), nullptr) << c.what;
    }
}

TEST_F(MessageDialogGui, TextIsShownLiterally)
{
    const std::string text = "100% %s %d %n \xd0\x9f\xd1\x80\xd0\xb8";
    auto dialog = Make({"0", text});
    std::vector<std::string> labels;
    WhenShown([&](GtkWidget* shown) {
        CollectLabels(shown, labels);
        ClickResponse(shown, GTK_RESPONSE_OK);
    });
    dialog->ShowDialog();
    EXPECT_NE(std::find(labels.begin(), labels.end(), text), labels.end());
}

TEST_F(MessageDialogGui, BadArgumentsAreRejected)
{
    const std::vector<std::vector<std::string>> cases = {
        {"0"}, {"0", "a", "b"}, {"2x", "a"}, {"0x10", "a"}, {"1 ", "a"}, {"x", "a"},
    };
    for (const auto& args : cases) {
        try {
            Make(args);
            ADD_FAILURE() << args.size() << " " << args[0];
        } catch (const xvtui_exception& error) {
            EXPECT_EQ(error.GetCode(), ResultCode::BadArgs);
            EXPECT_STREQ(error.what(), "Error in function: MessageDialog(...) : Bad args in MessageDialog constructor\n");
        }
    }
}

TEST_F(MessageDialogGui, MessageTimeCancels)
{
    m_settings.SetLocal("[KeyDevices]\nmessage_time=1\nmessage_show_time=0\n");
    auto dialog = Make({"130", "Wait"});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(dialog->ShowDialog(), ResultCode::Cancelled);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::milliseconds(900));
    EXPECT_LT(elapsed, std::chrono::seconds(5));
}

TEST_F(MessageDialogGui, LostParentPipeEndsWith109)
{
    auto dialog = Make({"2", "Parent gone"});
    BrokenStdout broken;
    try {
        dialog->ShowDialog();
        ADD_FAILURE() << "ShowDialog returned";
    } catch (const xvtui_exception& error) {
        EXPECT_EQ(error.GetCode(), ResultCode::BrokenPipe);
        EXPECT_STREQ(error.what(), "Error in function: OnTimer(...) : broken pipe\n");
    }
    EXPECT_EQ(dialog->GetResult(), ResultCode::Failed); // unchanged
}

} // namespace
