// BaseDialog on a real X server: widgets, countdown label, the ways a dialog
// ends, and the callback boundary.
#include <chrono>
#include <stdexcept>

#include "GuiSupport.h"
#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "base/Callback.h"

namespace {

class ProbeDialog;
void cbOnProbeOK(GtkWidget*, gpointer data);

// A minimal concrete dialog: packs the button row and connects OK, which runs
// `onOk` (by default it ends the dialog with 0).
class ProbeDialog : public BaseDialog {
public:
    ProbeDialog() : BaseDialog(3, "probe_time", "probe_show_time", "probe_resume_time")
    {
        gtk_box_pack_end(GTK_BOX(m_mainBox), m_buttonAlignment, FALSE, FALSE, 0);
        g_signal_connect(m_okButton, "clicked", G_CALLBACK(cbOnProbeOK), this);
    }
    void PrintResultToPipe() const override {}
    void OnOKClicked()
    {
        if (onOk)
            onOk(*this);
        else
            TerminateDialog(0);
    }
    GtkWidget* Window() const { return m_window; }
    const char* TimerText() const { return gtk_label_get_text(GTK_LABEL(m_timerLabel)); }
    void Click(const char* name) { gtk_button_clicked(GTK_BUTTON(FindNamed(m_window, name))); }

    std::function<void(ProbeDialog&)> onOk;
};

void cbOnProbeOK(GtkWidget*, gpointer data)
{
    callback::Forward<ProbeDialog>("cbOnProbeOK", data, &ProbeDialog::OnOKClicked);
}

using BaseDialogGui = GuiTest;

TEST_F(BaseDialogGui, BuildsNamedWidgets)
{
    ProbeDialog dialog;
    GtkWidget* window = dialog.Window();
    ASSERT_NE(window, nullptr);
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(window)), "Veltro CSP");
    gint width = 0, height = 0;
    gtk_widget_get_size_request(window, &width, &height);
    EXPECT_EQ(width, 410);
    EXPECT_EQ(height, 470);

    GtkWidget* ok = FindNamed(window, "xvtui-ok");
    GtkWidget* cancel = FindNamed(window, "xvtui-cancel");
    GtkWidget* timer = FindNamed(window, "xvtui-timer");
    ASSERT_TRUE(ok && cancel && timer && FindNamed(window, "xvtui-buttons"));
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(ok)), "OK");
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(cancel)), "Cancel");
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(timer)), "");

    // The countdown label is the first row of the main box.
    GList* rows = gtk_container_get_children(GTK_CONTAINER(FindNamed(window, "xvtui-main-box")));
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(rows->data, timer);
    g_list_free(rows);

    // Once shown, OK is the default widget.
    bool okIsDefault = false;
    WhenReady([&] {
        if (!gtk_widget_get_mapped(window))
            return false;
        okIsDefault = gtk_window_get_default_widget(GTK_WINDOW(window)) == ok;
        dialog.Click("xvtui-ok");
        return true;
    });
    EXPECT_EQ(dialog.ShowDialog(), 0u);
    EXPECT_TRUE(okIsDefault);
}

TEST_F(BaseDialogGui, CountdownLabelFollowsTheTicks)
{
    m_settings.SetLocal("[KeyDevices]\nprobe_time=75\nprobe_show_time=60\nprobe_resume_time=70\n");
    ProbeDialog dialog;
    for (int tick = 0; tick < 15; ++tick) {
        ASSERT_TRUE(dialog.OnTimer());
        EXPECT_STREQ(dialog.TimerText(), "") << "tick " << tick;
    }
    ASSERT_TRUE(dialog.OnTimer());
    EXPECT_STREQ(dialog.TimerText(), "01:00");
    ASSERT_TRUE(dialog.OnTimer());
    EXPECT_STREQ(dialog.TimerText(), "00:59");

    dialog.ResetTimeout(); // resume time 70 is above the show time: hidden again
    ASSERT_TRUE(dialog.OnTimer());
    EXPECT_STREQ(dialog.TimerText(), "");
}

TEST_F(BaseDialogGui, ZeroTotalTimeCancelsAtFirstTick)
{
    m_settings.SetLocal("[KeyDevices]\nprobe_time=0\n");
    ProbeDialog dialog;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(dialog.ShowDialog(), ResultCode::Cancelled);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::milliseconds(900));
    EXPECT_LT(elapsed, std::chrono::seconds(5));
    EXPECT_EQ(dialog.Window(), nullptr);
}

TEST_F(BaseDialogGui, WaysToEnd)
{
    struct Case {
        const char* what;
        std::function<void(ProbeDialog&)> act;
        std::uint32_t result;
    };
    const Case cases[] = {
        {"Cancel", [](ProbeDialog& d) { d.Click("xvtui-cancel"); }, ResultCode::Cancelled},
        {"OK ends with 0", [](ProbeDialog& d) { d.Click("xvtui-ok"); }, 0},
        {"TerminateDialog's code", [](ProbeDialog& d) { d.TerminateDialog(0x1234); }, 0x1234},
        {"window-manager close",
         [](ProbeDialog& d) {
             GdkEvent* event = gdk_event_new(GDK_DELETE);
             event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(d.Window())));
             gtk_main_do_event(event);
             gdk_event_free(event);
         },
         ResultCode::Cancelled},
        {"destroyed by someone else", [](ProbeDialog& d) { gtk_widget_destroy(d.Window()); }, ResultCode::Failed},
    };
    for (const Case& c : cases) {
        ProbeDialog dialog;
        WhenReady([&] {
            if (!gtk_widget_get_mapped(dialog.Window()))
                return false;
            c.act(dialog);
            return true;
        });
        EXPECT_EQ(dialog.ShowDialog(), c.result) << c.what;
        EXPECT_EQ(dialog.Window(), nullptr) << c.what;
    }
}

TEST_F(BaseDialogGui, ExceptionInHandlerLeavesShowDialog)
{
    ProbeDialog dialog;
    dialog.onOk = [](ProbeDialog&) { throw xvtui_exception(0x4242, "OnOKClicked", "probe failure"); };
    WhenReady([&] {
        dialog.Click("xvtui-ok");
        dialog.Click("xvtui-ok"); // a second failure does not replace the first
        return true;
    });
    try {
        dialog.ShowDialog();
        ADD_FAILURE() << "ShowDialog returned";
    } catch (const xvtui_exception& error) {
        EXPECT_EQ(error.GetCode(), 0x4242u);
        EXPECT_STREQ(error.what(), "Error in function: OnOKClicked(...) : probe failure\n");
    }
    EXPECT_FALSE(callback::HasParked());
}

TEST_F(BaseDialogGui, ForeignExceptionKeepsItsType)
{
    ProbeDialog dialog;
    dialog.onOk = [](ProbeDialog&) { throw std::runtime_error("out of something"); };
    WhenReady([&] {
        dialog.Click("xvtui-ok");
        return true;
    });
    EXPECT_THROW(dialog.ShowDialog(), std::runtime_error);
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
    WhenReady([&] {
        dialog.Click("xvtui-ok");
        return true;
    });
    try {
        dialog.ShowDialog();
        ADD_FAILURE() << "ShowDialog returned";
    } catch (const xvtui_exception& error) {
        EXPECT_EQ(error.GetCode(), ResultCode::BrokenPipe);
    }
    EXPECT_EQ(nestedResponse, GTK_RESPONSE_NONE);
}

TEST_F(BaseDialogGui, MissingDataOrEventIsBadArgs)
{
    bool called = false;
    auto member = [&](ProbeDialog&) { called = true; };
    callback::Forward<ProbeDialog>("cbOnNoData", nullptr, member);
    std::exception_ptr parked = callback::TakeParked();
    ASSERT_TRUE(parked);
    try {
        std::rethrow_exception(parked);
    } catch (const xvtui_exception& error) {
        EXPECT_EQ(error.GetCode(), ResultCode::BadArgs);
        EXPECT_STREQ(error.what(), "Error in function: cbOnNoData(...) : Bad args in callback function\n");
    }

    ProbeDialog dialog;
    const gboolean handled = callback::ForwardEvent<ProbeDialog>(
        "cbOnNoEvent", &dialog, static_cast<GdkEventKey*>(nullptr), [&](ProbeDialog&, GdkEventKey&) {
            called = true;
            return TRUE;
        });
    EXPECT_EQ(handled, FALSE);
    EXPECT_FALSE(called);
    try {
        callback::RethrowParked();
        ADD_FAILURE() << "nothing parked";
    } catch (const xvtui_exception& error) {
        EXPECT_STREQ(error.what(), "Error in function: cbOnNoEvent(...) : Bad args in callback function\n");
    }
    EXPECT_NO_THROW(callback::RethrowParked());
}

TEST_F(BaseDialogGui, LostParentPipeEndsWith109)
{
    ProbeDialog dialog;
    BrokenStdout broken;
    try {
        dialog.ShowDialog();
        ADD_FAILURE() << "ShowDialog returned";
    } catch (const xvtui_exception& error) {
        EXPECT_EQ(error.GetCode(), ResultCode::BrokenPipe);
        EXPECT_STREQ(error.what(), "Error in function: OnTimer(...) : broken pipe\n");
    }
    EXPECT_EQ(dialog.GetResult(), ResultCode::Failed);
    EXPECT_EQ(dialog.Window(), nullptr);
}

TEST_F(BaseDialogGui, RedrawLabelOnlyOnWidthChange)
{
    GtkWidget* label = gtk_label_new("start");
    g_object_ref_sink(label);
    struct Step {
        unsigned width;
        const char* text;
        const char* shown;
        gint requested;
    };
    const Step steps[] = {
        {500, "first", "first", 470},
        {500, "second", "first", 470}, // same width: nothing changes
        {420, "third", "third", 390},
        {20, "narrow", "narrow", 1}, // 0 requested; GTK keeps at least 1
        {410, "default", "default", 380},
    };
    for (const Step& s : steps) {
        BaseDialog::RedrawLabel(s.width, label, s.text);
        gint width = 0, height = 0;
        gtk_widget_get_size_request(label, &width, &height);
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(label)), s.shown) << s.width;
        EXPECT_EQ(width, s.requested) << s.width;
        EXPECT_EQ(height, -1) << s.width;
    }
    gtk_widget_destroy(label);
    g_object_unref(label);
}

} // namespace
