// The reader selection on a real X server, in process: what only the
// widgets show (the drop-down's entries and sensitivity, the description,
// the focus, the countdown) and the answer written to a socketpair.
#include <functional>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

#include "gui/base/GuiSupport.h"
#include "dialogs/select/SelectReaderDialog.h"
#include "protocol/Pipe.h"
#include "protocol/ResultCode.h"

namespace {

using SelectReaderGui = GuiTest;

// argv for "xvtui VTSelectReader <args...>", kept alive with the object.
struct Args {
    explicit Args(std::vector<std::string> args) : strings(std::move(args))
    {
        strings.insert(strings.begin(), {"xvtui", "VTSelectReader"});
        for (std::string& s : strings)
            pointers.push_back(s.data());
        pointers.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(strings.size()); }
    char** argv() { return pointers.data(); }

    std::vector<std::string> strings;
    std::vector<char*> pointers;
};

// The answer's socketpair: the dialog writes to one end, the test reads the other.
struct AnswerPipe {
    AnswerPipe() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
    ~AnswerPipe()
    {
        close(ends[0]);
        close(ends[1]);
    }
    xvtui::protocol::Pipe Pipe() const { return {ends[0], ends[0]}; }
    std::string Read()
    {
        shutdown(ends[0], SHUT_WR);
        std::string text;
        char buffer[256];
        for (ssize_t n; (n = read(ends[1], buffer, sizeof buffer)) > 0;)
            text.append(buffer, static_cast<size_t>(n));
        return text;
    }
    int ends[2] = {-1, -1};
};

// Runs `step` on the dialog's window from the main loop, once the window is
// mapped, until it returns true.
void WhenShown(std::function<bool(GtkWidget*)> step)
{
    WhenReady([step] {
        GtkWidget* window = FindInToplevels("xvtui-window", true);
        return window != nullptr && step(window);
    });
}

// What the dialog shows at one moment.
struct Shown {
    std::vector<std::string> applets;
    int active = -2;
    bool sensitive = false;
    std::string description;
};

Shown Look(GtkWidget* window)
{
    Shown shown;
    GtkWidget* combo = FindNamed(window, "xvtui-applets");
    GtkTreeModel* model = gtk_combo_box_get_model(GTK_COMBO_BOX(combo));
    GtkTreeIter iter;
    for (gboolean more = gtk_tree_model_get_iter_first(model, &iter); more;
         more = gtk_tree_model_iter_next(model, &iter)) {
        gchar* text = nullptr;
        gtk_tree_model_get(model, &iter, 0, &text, -1);
        shown.applets.push_back(text != nullptr ? text : "");
        g_free(text);
    }
    shown.active = gtk_combo_box_get_active(GTK_COMBO_BOX(combo));
    shown.sensitive = gtk_widget_get_sensitive(combo);
    GtkTextBuffer* buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(FindNamed(window, "xvtui-description")));
    GtkTextIter start, end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    gchar* text = gtk_text_buffer_get_text(buffer, &start, &end, FALSE);
    shown.description = text;
    g_free(text);
    return shown;
}

void SelectReader(GtkWidget* window, int index)
{
    gtk_list_select_item(GTK_LIST(FindNamed(window, "xvtui-readers")), index);
}

// Two readers, the second with three applet types; a third without any.
TEST_F(SelectReaderGui, ChangingTheReaderRefillsTheDropDown)
{
    Args args({"", "-name", "R1", "-applet", "A", "-desc", "DA", "-name", "R2", "-applet", "C", "-desc", "DC",
               "-applet", "D", "-desc", "DD", "-applet", "E", "-desc", "DE", "-name", "R3"});
    AnswerPipe answer;
    SelectReaderDialog dialog(args.argc(), args.argv(), answer.Pipe());
    std::vector<Shown> seen;
    WhenShown([&](GtkWidget* window) {
        seen.push_back(Look(window));
        SelectReader(window, 1);
        seen.push_back(Look(window));
        gtk_combo_box_set_active(GTK_COMBO_BOX(FindNamed(window, "xvtui-applets")), 2);
        seen.push_back(Look(window));
        SelectReader(window, 2);
        seen.push_back(Look(window));
        SelectReader(window, 1);
        gtk_combo_box_set_active(GTK_COMBO_BOX(FindNamed(window, "xvtui-applets")), 2);
        gtk_button_clicked(GTK_BUTTON(FindNamed(window, "xvtui-ok")));
        return true;
    });
    ASSERT_EQ(dialog.ShowDialog(), 0u);
    dialog.PrintResultToPipe();
    EXPECT_EQ(answer.Read(), "name=R2;applet=E");

    using V = std::vector<std::string>;
    ASSERT_EQ(seen.size(), 4u);
    EXPECT_EQ(seen[0].applets, V{"A"});
    EXPECT_FALSE(seen[0].sensitive);
    EXPECT_EQ(seen[0].description, "DA");
    EXPECT_EQ(seen[1].applets, (V{"C", "D", "E"}));
    EXPECT_TRUE(seen[1].sensitive);
    EXPECT_EQ(seen[1].active, 0);
    EXPECT_EQ(seen[1].description, "DC");
    EXPECT_EQ(seen[2].description, "DE");
    EXPECT_EQ(seen[3].applets, V{}); // the arguments ended after its name
    EXPECT_FALSE(seen[3].sensitive);
    EXPECT_EQ(seen[3].description, "");
}

// OK at once answers the first reader's first applet type; an applet type
// without a description shows an empty one.
TEST_F(SelectReaderGui, OkAtOnceAnswersTheFirstApplet)
{
    Args args({"", "-name", "R", "-applet", "A", "-desc", "D", "-applet", "B"});
    AnswerPipe answer;
    SelectReaderDialog dialog(args.argc(), args.argv(), answer.Pipe());
    std::string lastDescription;
    GtkWidget* focus = nullptr;
    WhenShown([&](GtkWidget* window) {
        focus = gtk_window_get_focus(GTK_WINDOW(window));
        GtkWidget* combo = FindNamed(window, "xvtui-applets");
        gtk_combo_box_set_active(GTK_COMBO_BOX(combo), 1);
        lastDescription = Look(window).description;
        gtk_combo_box_set_active(GTK_COMBO_BOX(combo), 0);
        EXPECT_EQ(focus, FindNamed(window, "xvtui-ok"));
        gtk_button_clicked(GTK_BUTTON(FindNamed(window, "xvtui-ok")));
        return true;
    });
    ASSERT_EQ(dialog.ShowDialog(), 0u);
    dialog.PrintResultToPipe();
    EXPECT_EQ(answer.Read(), "name=R;applet=A");
    EXPECT_EQ(lastDescription, "");
}

// The prompt as given, or the built-in one; without readers OK is greyed
// and Cancel has the focus.
TEST_F(SelectReaderGui, PromptAndTheEmptyList)
{
    const std::string cyrillic = "\xd0\x92\xd1\x8b\xd0\xb1\xd0\xb5\xd1\x80\xd0\xb8\xd1\x82\xd0\xb5 %s %d";
    const struct {
        std::string prompt;
        std::string shown;
    } cases[] = {{cyrillic, cyrillic}, {"", "Select reader to create container"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.prompt);
        Args args({c.prompt});
        SelectReaderDialog dialog(args.argc(), args.argv());
        std::string prompt;
        bool okSensitive = true, cancelFocused = false, hasList = true;
        int width = 0, height = 0;
        WhenShown([&](GtkWidget* window) {
            prompt = gtk_label_get_text(GTK_LABEL(FindNamed(window, "xvtui-prompt")));
            okSensitive = gtk_widget_get_sensitive(FindNamed(window, "xvtui-ok"));
            cancelFocused = gtk_window_get_focus(GTK_WINDOW(window)) == FindNamed(window, "xvtui-cancel");
            hasList = FindNamed(window, "xvtui-readers") != nullptr;
            gtk_widget_get_size_request(window, &width, &height);
            gtk_button_clicked(GTK_BUTTON(FindNamed(window, "xvtui-cancel")));
            return true;
        });
        EXPECT_EQ(dialog.ShowDialog(), ResultCode::Cancelled);
        EXPECT_EQ(prompt, c.shown);
        EXPECT_FALSE(okSensitive);
        EXPECT_TRUE(cancelFocused);
        EXPECT_FALSE(hasList);
        EXPECT_EQ(width, 410);
        EXPECT_EQ(height, 140);
    }
}

// A change sets the time left to "selcar_resume_time": the countdown then
// reads 00:50 although the dialog had 30 seconds in all.
TEST_F(SelectReaderGui, AChangeRestartsTheCountdown)
{
    m_settings.SetLocal("selcar_time", 30);
    m_settings.SetLocal("selcar_show_time", 100);
    m_settings.SetLocal("selcar_resume_time", 50);
    Args args({"", "-name", "R1", "-applet", "A", "-desc", "DA", "-name", "R2", "-applet", "C", "-desc", "DC"});
    SelectReaderDialog dialog(args.argc(), args.argv());
    std::string before, after;
    bool changed = false;
    WhenShown([&](GtkWidget* window) {
        const std::string timer = gtk_label_get_text(GTK_LABEL(FindNamed(window, "xvtui-timer")));
        if (!changed) {
            if (timer.empty())
                return false;
            before = timer;
            SelectReader(window, 1);
            changed = true;
            return false;
        }
        if (timer == before)
            return false; // the next tick has not come yet
        after = timer;
        gtk_button_clicked(GTK_BUTTON(FindNamed(window, "xvtui-cancel")));
        return true;
    });
    EXPECT_EQ(dialog.ShowDialog(), ResultCode::Cancelled);
    EXPECT_EQ(before, "00:30");
    EXPECT_EQ(after, "00:50");
}

} // namespace
