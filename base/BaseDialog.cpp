#include "base/BaseDialog.h"

#include <algorithm>
#include <climits>
#include <optional>

#include <poll.h>
#include <unistd.h>

#include "app/xvtui_exception.h"
#include "base/Accessible.h"
#include "base/Callback.h"
#include "base/Countdown.h"
#include "base/GetTimeout.h"
#include "base/TextFit.h"
#include "l10n/Cp1251.h"
#include "protocol/Number.h"
#include "protocol/Pipe.h"

#include <X11/Xlib.h>

LocalizedText BaseDialog::m_okTerm{"OK", CP1251_TEXT("ОК")};
LocalizedText BaseDialog::m_cancelTerm{"Cancel", CP1251_TEXT("Отмена")};
LocalizedText BaseDialog::m_titleTerm{"Veltro CSP", CP1251_TEXT("Вельтро CSP")};
const std::string BaseDialog::m_warningColor = "brown";
const std::string BaseDialog::m_inactiveColor = "grey";
unsigned BaseDialog::m_windowWidth = 410;
const unsigned BaseDialog::m_windowHeight = 470;

namespace {

constexpr guint kTimerIntervalMs = 1000;
// How often a wait on the parent's pipes looks whether the parent is still there.
constexpr std::chrono::milliseconds kParentCheckInterval{100};
constexpr gint kButtonWidth = 90;
constexpr gint kButtonHeight = 28;
constexpr guint kWindowBorder = 15;
// How long a text cursor blinks after the last key, when the desktop sets no
// limit (GTK+ 2 then blinks for as long as the window waits).
constexpr glong kCursorBlinkSeconds = 10;
// The wrapped label is narrower than the window by the borders around it.
constexpr unsigned kLabelMargin = 30;

// The X server is gone (the session ended, say). Xlib lets no program go on
// after this, and the toolkit's own handler would exit with status 1 and no
// answer; the provider gets the answer of a dialog that ended without one.
int cbOnDisplayLost(Display*)
{
    // Nobody may read the answer any more: the exit status still tells.
    xvtui::protocol::Pipe::Standard().Write(xvtui::protocol::RetText(ResultCode::Failed));
    ::_exit(static_cast<int>(ResultCode::Failed & 0xFF));
}

gboolean cbOnTimer(gpointer data)
{
    return callback::Forward<BaseDialog>("cbOnTimer", data, &BaseDialog::OnTimer);
}

void cbOnCancelClicked(GtkWidget*, gpointer data)
{
    callback::Forward<BaseDialog>("cbOnCancelClicked", data, &BaseDialog::OnCancelClicked);
}

gboolean cbOnDelete(GtkWidget*, GdkEvent* event, gpointer data)
{
    return callback::ForwardEvent<BaseDialog>("cbOnDelete", data, event,
                                              [](BaseDialog& dialog, GdkEvent&) { return dialog.OnDelete(); });
}

void cbOnDestroy(GtkWidget*, gpointer data)
{
    callback::Forward<BaseDialog>("cbOnDestroy", data, &BaseDialog::OnDestroy);
}

// The parent seen at the first look; a re-parented helper has lost it. The
// constructor takes the first look, so a parent that dies before the first
// tick is still noticed.
pid_t OriginalParent()
{
    static const pid_t parent = getppid();
    return parent;
}

} // namespace

BaseDialog::BaseDialog(DialogKind dialogKind, const std::string& timeKey, const std::string& showTimeKey,
                       const std::string& resumeTimeKey)
    : m_result(ResultCode::Failed)
{
    m_timeLeft = GetTimeout(timeKey, 600);
    m_showTime = GetTimeout(showTimeKey, 60);
    m_resumeTime = GetTimeout(resumeTimeKey, 0);
    m_timerId = 0;
    // A message dialog's total of 0 turns its time-out off; for the others it
    // is over at the first tick, a second after start.
    m_waitLimit = dialogKind == DialogKind::Message && m_timeLeft == 0
                      ? std::chrono::seconds::max()
                      : std::chrono::seconds(std::max<std::uint32_t>(m_timeLeft, 1));
    OriginalParent();
    m_localizer = std::make_unique<CSPLocalizer>(); // sets the process's locale
    m_fonts.Start();
    if (dialogKind == DialogKind::Message) {
        m_localizer->Localize(m_titleTerm);
        CreateMainWindow();
    } else {
        TermsInit();
        GtkInit();
    }
}

BaseDialog::~BaseDialog()
{
    StopTimer();
    if (m_window != nullptr) {
        // The dialog is going away: its handlers must not run during the destruction.
        g_signal_handlers_disconnect_matched(m_window, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
        GtkWidget* window = m_window;
        m_window = nullptr;
        gtk_widget_destroy(window);
    }
    if (m_buttonAlignment != nullptr) {
        // Held by our own reference, whether or not a dialog packed it.
        gtk_widget_destroy(m_buttonAlignment);
        g_object_unref(m_buttonAlignment);
        m_buttonAlignment = nullptr;
    }
}

void BaseDialog::TermsInit()
{
    m_localizer->Localize(m_okTerm);
    m_localizer->Localize(m_cancelTerm);
    m_localizer->Localize(m_titleTerm);
}

void BaseDialog::CreateMainWindow()
{
    // The process's own arguments are the provider's request, never GTK options.
    int argc = 0;
    char** argv = nullptr;
    if (!gtk_init_check(&argc, &argv)) {
        m_localizer.reset();
        throw xvtui_exception(ResultCode::GtkInitFailed, "CreateMainWindow", "gtk_init_check failed");
    }
    XSetIOErrorHandler(cbOnDisplayLost);
    // GTK's start makes no font map; its first widgets may, so the font
    // configuration, read since the locale was set, must be there first.
    m_fonts.Wait();
    // A dialog may wait ten minutes: its cursor stops blinking some seconds
    // after the last key, as on desktops that set a limit, instead of waking
    // the dialog and the X server for every blink until the time-out.
    GtkSettings* settings = gtk_settings_get_default();
    gint blinkSeconds = 0;
    g_object_get(settings, "gtk-cursor-blink-timeout", &blinkSeconds, nullptr);
    if (blinkSeconds == G_MAXINT)
        gtk_settings_set_long_property(settings, "gtk-cursor-blink-timeout", kCursorBlinkSeconds, "xvtui");
    // No widget of a dialog has a tooltip; with tooltips on, GTK+ 2 still
    // builds its tooltip window, walking every visual of the screen, when the
    // pointer first moves over the dialog.
    g_object_set(settings, "gtk-enable-tooltips", FALSE, nullptr);
    m_window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_widget_set_name(m_window, "xvtui-window");
    gtk_widget_set_size_request(m_window, static_cast<gint>(m_windowWidth), static_cast<gint>(m_windowHeight));
    gtk_window_set_position(GTK_WINDOW(m_window), GTK_WIN_POS_CENTER_ALWAYS);
    g_signal_connect(m_window, "delete-event", G_CALLBACK(cbOnDelete), this);
    g_signal_connect(m_window, "destroy", G_CALLBACK(cbOnDestroy), this);
    gtk_container_set_border_width(GTK_CONTAINER(m_window), kWindowBorder);
    gtk_window_set_title(GTK_WINDOW(m_window), m_titleTerm.c_str());
}

void BaseDialog::GtkInit()
{
    CreateMainWindow();

    m_mainBox = gtk_vbox_new(FALSE, 0);
    gtk_widget_set_name(m_mainBox, "xvtui-main-box");
    gtk_container_add(GTK_CONTAINER(m_window), m_mainBox);

    m_okButton = gtk_button_new_with_label(m_okTerm.c_str());
    gtk_widget_set_name(m_okButton, "xvtui-ok");
    gtk_widget_set_size_request(m_okButton, kButtonWidth, kButtonHeight);

    m_cancelButton = gtk_button_new_with_label(m_cancelTerm.c_str());
    gtk_widget_set_name(m_cancelButton, "xvtui-cancel");
    gtk_widget_set_size_request(m_cancelButton, kButtonWidth, kButtonHeight);
    g_signal_connect(m_cancelButton, "clicked", G_CALLBACK(cbOnCancelClicked), this);

    GtkWidget* row = gtk_hbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(row), m_okButton, FALSE, FALSE, 10);
    gtk_box_pack_start(GTK_BOX(row), m_cancelButton, FALSE, FALSE, 0);

    m_buttonAlignment = gtk_alignment_new(1.0, 1.0, 0.0, 0.0);
    g_object_ref_sink(m_buttonAlignment);
    gtk_widget_set_name(m_buttonAlignment, "xvtui-buttons");
    gtk_container_add(GTK_CONTAINER(m_buttonAlignment), row);

    m_timerLabel = gtk_label_new("");
    gtk_widget_set_name(m_timerLabel, "xvtui-timer");
    gtk_misc_set_alignment(GTK_MISC(m_timerLabel), 1.0, 0.0);
    accessible::SetRole(m_timerLabel, ATK_ROLE_STATUSBAR); // its text changes are reported as they come
    gtk_box_pack_start(GTK_BOX(m_mainBox), m_timerLabel, FALSE, FALSE, 0);

    m_timerId = g_timeout_add(kTimerIntervalMs, cbOnTimer, this);
}

std::uint32_t BaseDialog::ShowDialog()
{
    callback::RethrowParked();
    if (m_window == nullptr)
        return m_result; // ended before it was shown
    // The contents are shown first (the window not yet), so that the fit
    // measures them all: a hidden widget asks for no room.
    if (GtkWidget* contents = gtk_bin_get_child(GTK_BIN(m_window)))
        gtk_widget_show_all(contents);
    textfit::FitTexts(m_window); // no text makes the window larger than the screen
    gtk_widget_show_all(m_window);
    if (m_okButton != nullptr) {
        gtk_widget_set_can_default(m_okButton, TRUE);
        gtk_widget_grab_default(m_okButton);
    }
    gtk_main();
    callback::RethrowParked();
    return m_result;
}

void BaseDialog::StopTimer()
{
    if (m_timerId != 0) {
        g_source_remove(m_timerId);
        m_timerId = 0;
    }
}

void BaseDialog::QuitMainLoop()
{
    if (gtk_main_level() > 0)
        gtk_main_quit();
}

void BaseDialog::TerminateDialog(int code)
{
    StopTimer();
    if (m_window != nullptr)
        gtk_widget_destroy(m_window); // OnDestroy forgets the window
    QuitMainLoop();
    m_result = static_cast<std::uint32_t>(code);
}

void BaseDialog::ResetTimeout()
{
    CountdownResume(m_timeLeft, m_resumeTime);
}

bool BaseDialog::OnTimer()
{
    if (CheckBrokenPipe()) {
        TerminateDialog(static_cast<int>(ResultCode::Failed));
        throw xvtui_exception(ResultCode::BrokenPipe, "OnTimer", "broken pipe");
    }
    const CountdownTick tick = CountdownStep(m_timeLeft, m_showTime);
    if (tick.expired) {
        TerminateDialog(static_cast<int>(ResultCode::Cancelled));
        return false;
    }
    // Setting a label, even to the text it shows, re-lays the window out and
    // redraws it: a tick that changes nothing visible leaves it alone, so a
    // waiting dialog costs neither itself nor the X server anything.
    if (m_timerLabel != nullptr && tick.label != gtk_label_get_text(GTK_LABEL(m_timerLabel)))
        gtk_label_set_text(GTK_LABEL(m_timerLabel), tick.label.c_str());
    return true;
}

void BaseDialog::OnCancelClicked()
{
    TerminateDialog(static_cast<int>(ResultCode::Cancelled));
}

bool BaseDialog::OnDelete()
{
    StopTimer();
    m_result = ResultCode::Cancelled;
    return false; // GTK goes on to destroy the window
}

void BaseDialog::OnDestroy()
{
    StopTimer();
    if (m_window != nullptr) {
        GtkWidget* window = m_window;
        // The children die with the window; forget them all.
        m_window = nullptr;
        m_mainBox = nullptr;
        m_okButton = nullptr;
        m_cancelButton = nullptr;
        m_timerLabel = nullptr;
        gtk_widget_destroy(window);
    }
    QuitMainLoop();
}

void BaseDialog::RedrawLabel(unsigned width, GtkWidget* label, std::string text)
{
    if (width == m_windowWidth)
        return;
    m_windowWidth = width;
    if (label == nullptr || !GTK_IS_LABEL(label))
        return;
    // GTK takes a non-negative int; a window narrower than the margin gets 0.
    const unsigned labelWidth = width > kLabelMargin ? width - kLabelMargin : 0;
    gtk_widget_set_size_request(label, labelWidth > INT_MAX ? INT_MAX : static_cast<gint>(labelWidth), -1);
    gtk_label_set_text(GTK_LABEL(label), text.c_str());
    textfit::FitLabel(GTK_LABEL(label));
}

void BaseDialog::SetWidgetColor(GtkWidget* widget, const std::string& colorName, bool foreground)
{
    if (widget == nullptr)
        return;
    GdkColor color{};
    gdk_color_parse(colorName.c_str(), &color); // an unknown name leaves black
    if (foreground)
        gtk_widget_modify_fg(widget, GTK_STATE_NORMAL, &color);
    else
        gtk_widget_modify_bg(widget, GTK_STATE_NORMAL, &color);
}

bool BaseDialog::StringToInt(const char* text, int& value)
{
    const std::optional<std::int32_t> number = xvtui::protocol::ParseWholeNumber(text);
    value = number.value_or(-1);
    return number.has_value();
}

std::string BaseDialog::Displayable(const std::string& text)
{
    if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr))
        return text;
    gchar* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    std::string result(valid);
    g_free(valid);
    return result;
}

xvtui::protocol::Pipe BaseDialog::WatchedPipe(const xvtui::protocol::Pipe& pipe, std::chrono::seconds limit)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point now = Clock::now();
    // A limit that no clock reaches is no limit.
    const Clock::time_point deadline = limit >= std::chrono::duration_cast<std::chrono::seconds>(Clock::time_point::max() - now)
                                           ? Clock::time_point::max()
                                           : now + limit;
    return pipe.Watched({kParentCheckInterval, deadline, [] { return !CheckBrokenPipe(); }});
}

xvtui::protocol::Pipe BaseDialog::WatchedInput(const xvtui::protocol::Pipe& pipe) const
{
    return WatchedPipe(pipe, std::chrono::seconds(std::max<std::uint32_t>(m_timeLeft, 1)));
}

void BaseDialog::RaiseIfGaveUp(const xvtui::protocol::Pipe& watched, const char* function)
{
    switch (watched.GaveUp()) {
    case xvtui::protocol::GiveUp::No:
        return;
    case xvtui::protocol::GiveUp::TimedOut:
        throw xvtui_exception(ResultCode::Cancelled, function, "time-out while waiting for the parent");
    case xvtui::protocol::GiveUp::ParentLost:
    case xvtui::protocol::GiveUp::Failed:
        break;
    }
    throw xvtui_exception(ResultCode::BrokenPipe, function, "broken pipe");
}

void BaseDialog::WriteAnswer(const xvtui::protocol::Pipe& pipe, std::string_view bytes) const
{
    if (!WatchedPipe(pipe, m_waitLimit).Write(bytes))
        throw xvtui_exception(ResultCode::BrokenPipe, "PrintResultToPipe", "broken pipe");
}

bool BaseDialog::CheckBrokenPipe()
{
    const pid_t parent = OriginalParent();
    pollfd output{STDOUT_FILENO, POLLERR, 0};
    const bool pipeBroken = poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0;
    return pipeBroken || getppid() != parent;
}
