// BaseDialog on a real X server: what the provider cannot see of it, and the
// boundary that stops exceptions before GTK's C frames.
#include <stdexcept>

#include "GuiSupport.h"
#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "base/Callback.h"

namespace {

class ProbeDialog;
void cbOnProbeOK(GtkWidget*, gpointer data);

// A minimal concrete dialog: packs the button row; OK runs `onOk`, by default
// ending the dialog with 0.
class ProbeDialog : public BaseDialog {
public:
    ProbeDialog() : BaseDialog(DialogKind::Password, "probe_time", "probe_show_time", "probe_resume_time")
    {
        gtk_box_pack_end(GTK_BOX(m_mainBox), m_buttonAlignment, FALSE, FALSE, 0);
        g_signal_connect(m_okButton, "clicked", G_CALLBACK(cbOnProbeOK), this);
    }
    void PrintResultToPipe() const override {}
    void OnOKClicked() { onOk ? onOk(*this) : TerminateDialog(0); }
    GtkWidget* Window() const { return m_window; }
    const char* TimerText() const { return gtk_label_get_text(GTK_LABEL(m_timerLabel)); }
    void Click(const char* name) { gtk_button_clicked(GTK_BUTTON(FindNamed(m_window, name))); }
    GtkWidget* TimerLabel() const { return m_timerLabel; }
    void StopTicking() { StopTimer(); } // the test calls OnTimer itself

    std::function<void(ProbeDialog&)> onOk;
};

void cbOnProbeOK(GtkWidget*, gpointer data)
{
    callback::Forward<ProbeDialog>("cbOnProbeOK", data, &ProbeDialog::OnOKClicked);
}

// Runs `act` once the dialog's window is mapped.
void WhenMapped(ProbeDialog& dialog, std::function<void(ProbeDialog&)> act)
{
    WhenReady([&dialog, act] {
        if (!gtk_widget_get_mapped(dialog.Window()))
            return false;
        act(dialog);
        return true;
    });
}

// ShowDialog's xvtui_exception, or a failure when it returns or throws another.
xvtui_exception ShowExpectingError(ProbeDialog& dialog)
{
    try {
        const std::uint32_t result = dialog.ShowDialog();
        ADD_FAILURE() << "ShowDialog returned " << result;
    } catch (const xvtui_exception& error) {
        return error;
    }
    return xvtui_exception(0, "", "");
}

using BaseDialogGui = GuiTest;

// What the provider cannot see: sizes, texts and the countdown's place.
TEST_F(BaseDialogGui, BuildsTheFrame)
{
    ProbeDialog dialog;
    GtkWidget* window = dialog.Window();
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(window)), "Veltro CSP");
    gint width = 0, height = 0;
    gtk_widget_get_size_request(window, &width, &height);
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(410, 470));
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(FindNamed(window, "xvtui-ok"))), "OK");
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(FindNamed(window, "xvtui-cancel"))), "Cancel");
    GList* rows = gtk_container_get_children(GTK_CONTAINER(FindNamed(window, "xvtui-main-box")));
    EXPECT_TRUE(rows && rows->data == FindNamed(window, "xvtui-timer")); // the first row of every dialog
    g_list_free(rows);
}

// Runs the main loop until nothing is pending: queued resizes and redraws done.
void Settle()
{
    while (gtk_events_pending())
        gtk_main_iteration();
}

gboolean cbOnCountedEvent(GtkWidget*, GdkEvent*, gpointer data)
{
    ++*static_cast<int*>(data);
    return FALSE;
}

void cbOnCountedRequest(GtkWidget*, GtkRequisition*, gpointer data)
{
    ++*static_cast<int*>(data);
}

// A waiting dialog must not keep itself and the X server busy: a tick that
// changes nothing visible neither re-lays out nor redraws the window.
TEST_F(BaseDialogGui, HiddenTicksLeaveTheWindowAlone)
{
    m_settings.WriteFile("local.ini", "[KeyDevices]\nprobe_time=62\nprobe_show_time=60\n");
    ProbeDialog dialog;
    dialog.StopTicking();
    int exposes = 0, requests = 0;
    g_signal_connect(dialog.Window(), "expose-event", G_CALLBACK(cbOnCountedEvent), &exposes);
    g_signal_connect(dialog.TimerLabel(), "size-request", G_CALLBACK(cbOnCountedRequest), &requests);
    gtk_widget_show_all(dialog.Window());
    while (exposes == 0)
        gtk_main_iteration();
    gdk_display_sync(gdk_display_get_default());
    Settle();

    const struct { const char* shown; bool redrawn; } ticks[] = {
        {"", false}, {"", false}, {"01:00", true}, {"00:59", true},
    };
    for (const auto& t : ticks) {
        exposes = requests = 0;
        ASSERT_TRUE(dialog.OnTimer());
        Settle();
        EXPECT_STREQ(dialog.TimerText(), t.shown);
        EXPECT_EQ(exposes > 0, t.redrawn) << t.shown << ": " << exposes << " exposes";
        EXPECT_EQ(requests > 0, t.redrawn) << t.shown << ": " << requests << " size requests";
    }
}

void cbOnButtonEntered(GtkButton*, gpointer data)
{
    *static_cast<bool*>(data) = true;
}

// No widget of a dialog has a tooltip; GTK+ 2 would still build its tooltip
// window (walking every visual of the screen) when the pointer first moves
// over the dialog.
TEST_F(BaseDialogGui, PointerOverTheDialogBuildsNoTooltip)
{
    ProbeDialog dialog;
    gtk_widget_show_all(dialog.Window());
    GtkWidget* ok = FindNamed(dialog.Window(), "xvtui-ok");
    bool entered = false;
    g_signal_connect(ok, "enter", G_CALLBACK(cbOnButtonEntered), &entered);
    while (!gtk_widget_get_mapped(ok) || ok->window == nullptr)
        gtk_main_iteration();
    gint x = 0, y = 0;
    gdk_window_get_origin(ok->window, &x, &y);
    GdkDisplay* display = gdk_display_get_default();
    gdk_display_warp_pointer(display, gdk_display_get_default_screen(display), x + ok->allocation.x + 5,
                             y + ok->allocation.y + 5);
    while (!entered)
        gtk_main_iteration();
    Settle();
    EXPECT_EQ(g_object_get_data(G_OBJECT(display), "gdk-display-current-tooltip"), nullptr);
}

TEST_F(BaseDialogGui, WaysToEnd)
{
    const struct { const char* what; std::function<void(ProbeDialog&)> act; std::uint32_t result; } cases[] = {
        {"Cancel", [](ProbeDialog& d) { d.Click("xvtui-cancel"); }, ResultCode::Cancelled},
        {"TerminateDialog's code", [](ProbeDialog& d) { d.TerminateDialog(0x1234); }, 0x1234},
        {"destroyed by someone else", [](ProbeDialog& d) { gtk_widget_destroy(d.Window()); }, ResultCode::Failed},
    };
    for (const auto& c : cases) {
        ProbeDialog dialog;
        WhenMapped(dialog, c.act);
        EXPECT_EQ(dialog.ShowDialog(), c.result) << c.what;
        EXPECT_EQ(dialog.Window(), nullptr) << c.what;
    }
}

TEST_F(BaseDialogGui, ExceptionInHandlerLeavesShowDialog)
{
    ProbeDialog dialog;
    int failures = 0; // the first of two failures is the one reported
    dialog.onOk = [&](ProbeDialog&) { throw xvtui_exception(0x4240 + ++failures, "OnOKClicked", "probe failure"); };
    WhenMapped(dialog, [](ProbeDialog& d) {
        d.Click("xvtui-ok");
        d.Click("xvtui-ok");
    });
    const xvtui_exception error = ShowExpectingError(dialog);
    EXPECT_EQ(error.GetCode(), 0x4241u);
    EXPECT_STREQ(error.what(), "Error in function: OnOKClicked(...) : probe failure\n");
    EXPECT_FALSE(callback::HasParked());

    ProbeDialog other; // a foreign exception keeps its type
    other.onOk = [](ProbeDialog&) { throw std::runtime_error("out of something"); };
    WhenMapped(other, [](ProbeDialog& d) { d.Click("xvtui-ok"); });
    EXPECT_THROW(other.ShowDialog(), std::runtime_error);
}

gboolean cbOnProbeFailure(gpointer data)
{
    return callback::Forward<ProbeDialog>("cbOnProbeFailure", data, [](ProbeDialog&) -> bool {
        throw xvtui_exception(ResultCode::BrokenPipe, "OnProbeFailure", "nested");
    });
}

TEST_F(BaseDialogGui, ExceptionEndsANestedDialogRun)
{
    ProbeDialog dialog;
    gint nestedResponse = 0;
    dialog.onOk = [&](ProbeDialog& d) {
        GtkWidget* nested = gtk_dialog_new();
        g_timeout_add(20, cbOnProbeFailure, &d);
        nestedResponse = gtk_dialog_run(GTK_DIALOG(nested));
        gtk_widget_destroy(nested);
    };
    WhenMapped(dialog, [](ProbeDialog& d) { d.Click("xvtui-ok"); });
    EXPECT_EQ(ShowExpectingError(dialog).GetCode(), ResultCode::BrokenPipe);
    EXPECT_EQ(nestedResponse, GTK_RESPONSE_NONE);
}

TEST_F(BaseDialogGui, MissingDataOrEventIsBadArgs)
{
    ProbeDialog dialog;
    bool called = false;
    for (const std::string name : {"cbOnNoData", "cbOnNoEvent"}) {
        if (name == "cbOnNoData")
            callback::Forward<ProbeDialog>(name.c_str(), nullptr, [&](ProbeDialog&) { called = true; });
        else
            EXPECT_EQ(callback::ForwardEvent<ProbeDialog>(name.c_str(), &dialog, static_cast<GdkEventKey*>(nullptr),
                                                          [&](ProbeDialog&, GdkEventKey&) { return called = true; }),
                      false);
        const std::exception_ptr error = callback::TakeParked();
        ASSERT_TRUE(error) << name;
        try {
            std::rethrow_exception(error);
        } catch (const xvtui_exception& e) {
            EXPECT_EQ(e.GetCode(), ResultCode::BadArgs);
            EXPECT_EQ(std::string(e.what()), "Error in function: " + name + "(...) : Bad args in callback function\n");
        }
    }
    EXPECT_FALSE(called);
}

TEST_F(BaseDialogGui, RedrawLabelOnlyOnWidthChange)
{
    GtkWidget* label = g_object_ref_sink(gtk_label_new("start"));
    const struct { unsigned width; const char* text; const char* shown; gint requested; } steps[] = {
        {500, "first", "first", 470},
        {500, "second", "first", 470}, // same width: nothing changes
        {20, "narrow", "narrow", 1},   // no unsigned wrap-around; GTK keeps at least 1
    };
    for (const auto& s : steps) {
        BaseDialog::RedrawLabel(s.width, label, s.text);
        gint width = 0, height = 0;
        gtk_widget_get_size_request(label, &width, &height);
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(label)), s.shown) << s.text;
        EXPECT_EQ(width, s.requested) << s.text;
        EXPECT_EQ(height, -1) << s.text;
    }
    gtk_widget_destroy(label);
    g_object_unref(label);
}

} // namespace
