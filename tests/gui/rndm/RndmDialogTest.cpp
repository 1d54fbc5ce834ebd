// The random-data dialog's window, in process: what only its widgets show.
// The parent's replies are written ahead into a socketpair, so each step
// finds its reply waiting; events are handed to the handlers' members.
#include "dialogs/rndm/RndmDialog.h"
#include "gui/base/GuiSupport.h"

#include <sys/socket.h>

#include <string>
#include <vector>

namespace {

using xvtui::protocol::EncodeReply;
using xvtui::protocol::Pipe;
using xvtui::protocol::StateRecord;

// The parent's end of a socketpair; the dialog gets the other.
class Parent {
public:
    Parent() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, m_ends), 0); }
    ~Parent()
    {
        close(m_ends[0]);
        close(m_ends[1]);
    }
    Pipe HelperEnd() const { return Pipe(m_ends[0], m_ends[0]); }
    void Send(const StateRecord& state) const { Write(state.Data(), xvtui::protocol::kStateRecordSize); }
    void Reply(const StateRecord& state, std::uint32_t status = 0) const
    {
        const auto bytes = EncodeReply(status, state);
        Write(bytes.data(), bytes.size());
    }

private:
    void Write(const void* data, size_t size) const
    {
        ASSERT_EQ(write(m_ends[1], data, size), static_cast<ssize_t>(size));
    }
    int m_ends[2] = {-1, -1};
};

StateRecord Record(std::uint64_t gathered, std::uint64_t needed, std::int32_t direction = 0,
                   std::uint32_t counter = 0, bool prompts = true, bool moreSteps = false)
{
    StateRecord state;
    state.SetGathered(gathered);
    state.SetNeeded(needed);
    state.SetDirection(direction);
    state.SetPromptCounter(counter);
    state.SetPromptsEnabled(prompts);
    state.SetMoreSteps(moreSteps);
    return state;
}

class RndmGui : public GuiTest {
protected:
    // A dialog that started from `initial`.
    RndmDialog& Open(const StateRecord& initial = Record(0, 10))
    {
        m_parent.Send(initial);
        m_dialog = std::make_unique<RndmDialog>(m_parent.HelperEnd());
        return *m_dialog;
    }
    void Move(double x = 1, double y = 2)
    {
        GdkEventMotion event{};
        event.type = GDK_MOTION_NOTIFY;
        event.x = x;
        event.y = y;
        m_dialog->OnMotionNotify(event);
    }
    GtkWidget* Named(const char* name) const
    {
        return FindNamed(Window(), name);
    }
    // The dialog's window, the only top-level of the test.
    GtkWidget* Window() const
    {
        GList* all = gtk_window_list_toplevels();
        GtkWidget* window = all != nullptr ? GTK_WIDGET(g_list_last(all)->data) : nullptr;
        g_list_free(all);
        return window;
    }
    std::string Text(const char* name) const { return gtk_label_get_text(GTK_LABEL(Named(name))); }
    double Fraction() const { return gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(Named("xvtui-rndm-progress"))); }

    Parent m_parent;
    std::unique_ptr<RndmDialog> m_dialog;
};

TEST_F(RndmGui, WindowAndTexts)
{
    Open();
    gint width = 0, height = 0;
    gtk_widget_get_size_request(Window(), &width, &height);
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(550, 350));
    EXPECT_EQ(Text("xvtui-rndm-action"), "Move mouse cursor in window or press keys to provide random data");
    EXPECT_EQ(Text("xvtui-rndm-prompt"), "");
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(Named("xvtui-rndm-cancel"))), "Cancel");
}

// Direction prompts only while prompts are on, the counter is above 2 and the
// direction is 1 or -1; each reply's record decides the next text.
TEST_F(RndmGui, DirectionPromptsFollowTheRecord)
{
    const struct {
        const char* name;
        StateRecord reply;
        const char* prompt;
    } steps[] = {
        {"right, counter 3", Record(1, 10, 1, 3), "Move mouse pointer right"},
        {"right, counter 2", Record(1, 10, 1, 2), ""},
        {"left", Record(1, 10, -1, 9), "Move mouse pointer left"},
        {"prompts off", Record(1, 10, -1, 9, false), ""},
        {"direction 2", Record(1, 10, 2, 9), ""},
    };
    Open();
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        m_parent.Reply(step.reply);
        Move();
        EXPECT_EQ(Text("xvtui-rndm-prompt"), step.prompt);
    }
}

// Once the parent has asked for more steps, the instruction changes whenever
// no direction prompt applies; the dialog clears the flag in its own copy.
TEST_F(RndmGui, AdditionalStepsTextAfterTheFlag)
{
    RndmDialog& dialog = Open();
    const std::string first = Text("xvtui-rndm-action");
    const std::string more = "To complete the generation of a random sequence, additional steps are required, "
                             "press keys or move mouse pointer";
    m_parent.Reply(Record(1, 10, 1, 3, true, /*moreSteps=*/true));
    Move();
    EXPECT_FALSE(dialog.Record().MoreSteps());
    EXPECT_EQ(Text("xvtui-rndm-action"), first) << "a direction prompt applies";
    m_parent.Reply(Record(2, 10));
    Move();
    EXPECT_EQ(Text("xvtui-rndm-action"), more);
    dialog.OnResize(700); // the label follows the width with the current text
    gint width = 0;
    gtk_widget_get_size_request(Named("xvtui-rndm-action"), &width, nullptr);
    EXPECT_EQ(width, 670);
    EXPECT_EQ(Text("xvtui-rndm-action"), more);
}

// The bar shows the record as it stood before the step; key steps count too,
// and the same key twice sends (and reads) nothing the second time.
TEST_F(RndmGui, ProgressIsTheRecordBeforeTheStep)
{
    RndmDialog& dialog = Open(Record(1, 4));
    m_parent.Reply(Record(3, 4));
    m_parent.Reply(Record(4, 5));
    m_parent.Reply(Record(5, 5));
    Move();
    EXPECT_EQ(Fraction(), 0.25);
    GdkEventKey key{};
    key.type = GDK_KEY_PRESS;
    key.keyval = 'a';
    dialog.OnKeyPressed(key);
    EXPECT_EQ(Fraction(), 0.75);
    dialog.OnKeyPressed(key); // would take the last reply
    EXPECT_EQ(dialog.Record().Gathered(), 4u);
    Move();
    EXPECT_EQ(Fraction(), 0.8);
}

// The bar takes only 0 to 1: more gathered than needed shows full, and a
// record that needs nothing (not a number) leaves the bar as it was.
TEST_F(RndmGui, BarShowsWhatItCan)
{
    Open(Record(1, 4));
    const struct {
        StateRecord reply;
        double shown; // after the step, from the record before it
    } steps[] = {
        {Record(9, 4), 0.25},
        {Record(0, 0), 1.0},
        {Record(1, 4), 1.0},
        {Record(1, 4), 0.25},
    };
    for (const auto& step : steps) {
        m_parent.Reply(step.reply);
        Move();
        EXPECT_EQ(Fraction(), step.shown);
    }
}

} // namespace
