#include "dialogs/rndm/RndmDialog.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>

#include "app/xvtui_exception.h"
#include "base/Accessible.h"
#include "base/Callback.h"
#include "l10n/Cp1251.h"

using xvtui::protocol::StepEvent;

LocalizedText RndmDialog::m_actionTerm{
    "Move mouse cursor in window or press keys to provide random data",
    CP1251_TEXT("Перемещайте указатель мыши в окне или нажимайте клавиши для генерации случайной "
                "последовательности")};
LocalizedText RndmDialog::m_addActionTerm{
    "To complete the generation of a random sequence, additional steps are required, press keys or move "
    "mouse pointer",
    CP1251_TEXT("Для завершения создания случайной последовательности требуются дополнительные действия, "
                "перемещайте указатель мыши или нажимайте клавиши")};
LocalizedText RndmDialog::m_mouseLeftTerm{"Move mouse pointer left", CP1251_TEXT("Переместите курсор левее")};
LocalizedText RndmDialog::m_mouseRightTerm{"Move mouse pointer right", CP1251_TEXT("Переместите курсор правее")};

namespace {

constexpr gint kRowHeight = 30;
constexpr gint kCancelWidth = 90;
constexpr gint kRowSpacing = 10;
constexpr int kLabelMargin = 30;
// Direction prompts show only while the parent's counter is above this.
constexpr std::uint32_t kPromptCounterFloor = 2;

struct EventFree {
    void operator()(GdkEvent* event) const { gdk_event_free(event); }
};
using EventPtr = std::unique_ptr<GdkEvent, EventFree>;

// A label's text, changed only when it differs: setting a label re-lays the
// window out (and speaks through a screen reader), and a step comes with
// every motion event. True when it changed.
bool ShowText(GtkWidget* label, const std::string& text)
{
    if (text == gtk_label_get_text(GTK_LABEL(label)))
        return false;
    gtk_label_set_text(GTK_LABEL(label), text.c_str());
    accessible::NameAfterText(label);
    return true;
}

gboolean cbOnMotionNotify(GtkWidget*, GdkEventMotion* event, gpointer data)
{
    return callback::ForwardEvent<RndmDialog>("cbOnMotionNotify", data, event, &RndmDialog::OnMotionNotify);
}

gboolean cbOnKeyPressed(GtkWidget*, GdkEventKey* event, gpointer data)
{
    return callback::ForwardEvent<RndmDialog>("cbOnKeyPressed", data, event, &RndmDialog::OnKeyPressed);
}

void cbOnResize(GtkWidget*, GtkAllocation* allocation, gpointer data)
{
    callback::ForwardEvent<RndmDialog>("cbOnResize", data, allocation, [](RndmDialog& dialog, GtkAllocation& area) {
        dialog.OnResize(area.width < 0 ? 0u : static_cast<unsigned>(area.width));
    });
}

// Inverted on purpose: the provider expects a click on Cancel to end the
// process with the bad-arguments code, so the handler raises it whether or
// not the dialog came along (with none there would be nothing to cancel).
void cbOnCancelClicked(GtkWidget*, gpointer data)
{
    callback::Forward<RndmDialog>("cbOnCancelClicked", data,
                                  [](RndmDialog&) { callback::ThrowBadArgs("cbOnCancelClicked"); });
}

} // namespace

RndmDialog::RndmDialog(const xvtui::protocol::Pipe& pipe)
    : BaseDialog(DialogKind::Random, "bio_time", "bio_show_time", "bio_resume_time"), m_pipe(pipe)
{
    m_rndmWindowWidth = kWindowWidth;
    m_actionText.clear();
    const xvtui::protocol::Pipe input = WatchedInput(m_pipe);
    input.ReadSome(m_record.Data(), xvtui::protocol::kStateRecordSize); // what has arrived, as one read
    m_private = std::make_unique<std::array<unsigned char, xvtui::protocol::kPrivateBlockSize>>();
    m_record.AttachPrivateBlock(m_private->data());
    RaiseIfGaveUp(input, "RndmDialog");
    RndmTermsInit();
    RndmGtkInit();
}

RndmDialog::~RndmDialog()
{
    if (m_window != nullptr)
        g_signal_handlers_disconnect_matched(m_window, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
}

void RndmDialog::RndmTermsInit()
{
    m_localizer->Localize(m_actionTerm);
    m_localizer->Localize(m_addActionTerm);
    m_localizer->Localize(m_mouseLeftTerm);
    m_localizer->Localize(m_mouseRightTerm);
}

void RndmDialog::RndmGtkInit()
{
    m_actionText = m_actionTerm.GetText();
    m_actionLabel = gtk_label_new(m_actionText.c_str());
    gtk_widget_set_name(m_actionLabel, "xvtui-rndm-action");
    gtk_misc_set_alignment(GTK_MISC(m_actionLabel), 0.0, 0.0);
    gtk_widget_set_size_request(m_actionLabel, m_rndmWindowWidth - kLabelMargin, -1);
    gtk_label_set_line_wrap(GTK_LABEL(m_actionLabel), TRUE);
    gtk_box_pack_start(GTK_BOX(m_mainBox), m_actionLabel, FALSE, FALSE, 0);

    m_promptLabel = gtk_label_new("");
    gtk_widget_set_name(m_promptLabel, "xvtui-rndm-prompt");
    gtk_label_set_justify(GTK_LABEL(m_promptLabel), GTK_JUSTIFY_CENTER);
    GtkWidget* promptRow = gtk_hbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(promptRow), m_promptLabel, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(m_mainBox), promptRow, TRUE, TRUE, 0);

    m_progressBar = gtk_progress_bar_new();
    gtk_widget_set_name(m_progressBar, "xvtui-rndm-progress");
    gtk_widget_set_size_request(m_progressBar, kCancelWidth, kRowHeight);
    // The bar it shows anyway; setting it gives the bar the range behind its
    // accessible value, which would otherwise not exist until the first step.
    gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(m_progressBar), 0.0);
    m_rndmCancelButton = gtk_button_new_with_label(m_cancelTerm.c_str());
    gtk_widget_set_name(m_rndmCancelButton, "xvtui-rndm-cancel");
    gtk_widget_set_size_request(m_rndmCancelButton, kCancelWidth, kRowHeight);
    GtkWidget* bottomRow = gtk_hbox_new(FALSE, kRowSpacing);
    gtk_box_pack_start(GTK_BOX(bottomRow), m_progressBar, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(bottomRow), m_rndmCancelButton, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(m_mainBox), bottomRow, FALSE, FALSE, 0);
    // The instruction describes the window and names the bar; direction
    // prompts are announced as they come, an empty one as nothing.
    accessible::DescribeWindow(m_window, m_actionText);
    accessible::TieCaption(m_actionLabel, m_progressBar);
    accessible::SetRole(m_promptLabel, ATK_ROLE_ALERT);
    accessible::SetName(m_promptLabel, "");

    gtk_widget_add_events(m_window, GDK_POINTER_MOTION_MASK | GDK_KEY_PRESS_MASK);
    g_signal_connect(m_window, "motion-notify-event", G_CALLBACK(cbOnMotionNotify), this);
    g_signal_connect(m_window, "key-press-event", G_CALLBACK(cbOnKeyPressed), this);
    g_signal_connect(m_window, "size-allocate", G_CALLBACK(cbOnResize), this);
    g_signal_connect(m_rndmCancelButton, "clicked", G_CALLBACK(cbOnCancelClicked), this);

    gtk_widget_set_size_request(m_window, kWindowWidth, kWindowHeight);
}

std::uint32_t RndmDialog::ShowDialog()
{
    callback::RethrowParked();
    if (m_window == nullptr)
        return m_result;
    gtk_widget_show_all(m_window);
    gtk_main();
    callback::RethrowParked();
    return m_result;
}

void RndmDialog::PrintResultToPipe() const {}

std::uint32_t RndmDialog::BioNextStep(unsigned long kind, unsigned int time, int x, int y)
{
    // The parent is watched while it takes the step and while it replies,
    // without waiting for the next tick; the wait ends with the time left.
    const xvtui::protocol::Pipe watched = WatchedInput(m_pipe);
    xvtui::protocol::SendStep(watched, StepEvent{kind, time, x, y});
    const std::uint32_t status = xvtui::protocol::ReceiveReply(watched, m_record, m_private->data());
    switch (watched.GaveUp()) {
    case xvtui::protocol::GiveUp::No:
        return status;
    case xvtui::protocol::GiveUp::TimedOut:
        TerminateDialog(static_cast<int>(ResultCode::Cancelled));
        break;
    case xvtui::protocol::GiveUp::ParentLost:
    case xvtui::protocol::GiveUp::Failed:
        TerminateDialog(static_cast<int>(ResultCode::Failed));
        break;
    }
    RaiseIfGaveUp(watched, "BioNextStep");
    return status;
}

void RndmDialog::ShowProgress()
{
    // The bar refuses, with a toolkit warning, anything outside 0 to 1: more
    // gathered than needed shows full, needed 0 with nothing gathered (not a
    // number) leaves the bar as it was.
    const double fraction = m_record.Fraction();
    if (m_progressBar == nullptr || std::isnan(fraction))
        return;
    GtkProgressBar* bar = GTK_PROGRESS_BAR(m_progressBar);
    const double shown = std::clamp(fraction, 0.0, 1.0);
    if (shown != gtk_progress_bar_get_fraction(bar)) // unchanged: no redraw
        gtk_progress_bar_set_fraction(bar, shown);
}

bool RndmDialog::Step(const StepEvent& event)
{
    ShowProgress();
    if (BioNextStep(event.kind, event.time, event.x, event.y) == 0)
        return false;
    TerminateDialog(static_cast<int>(ResultCode::Answered));
    return true;
}

bool RndmDialog::OnMotionNotify(GdkEventMotion& event)
{
    if (MotionStep(event))
        return true;
    // Motion events of this window that wait behind this one are taken here,
    // a few at a time: each would otherwise cost a main-loop turn and two
    // signal emissions. The first other event read from X is handled at once,
    // as the main loop would have handled it next, so the order stays. A due
    // tick of the base timer ends the batch: the main loop runs it after one
    // more event, as it would between single events, so a slow parent cannot
    // hold off the time-out, the countdown or the parent watch.
    const auto isOurMotion = [&event](const GdkEvent& next) {
        return next.type == GDK_MOTION_NOTIFY && next.motion.window == event.window;
    };
    for (int taken = 0; taken < kMotionBatch && !TimerDue(); ++taken) {
        if (const EventPtr queued{gdk_event_peek()}; queued != nullptr ? !isOurMotion(*queued) : !gdk_events_pending())
            break; // the toolkit's queue holds another event first, or nothing waits
        const EventPtr next{gdk_event_get()};
        if (next == nullptr)
            break;
        if (!isOurMotion(*next)) {
            gtk_main_do_event(next.get());
            break;
        }
        if (MotionStep(next->motion))
            return true;
    }
    return false;
}

bool RndmDialog::TimerDue() const
{
    GSource* timer = m_timerId != 0 ? g_main_context_find_source_by_id(nullptr, m_timerId) : nullptr;
    if (timer == nullptr)
        return false;
    const gint64 due = g_source_get_ready_time(timer); // monotonic; -1: not by time
    return due >= 0 && due <= g_get_monotonic_time();
}

bool RndmDialog::MotionStep(const GdkEventMotion& event)
{
    if (Step(xvtui::protocol::MotionStep(event.time, event.x, event.y)))
        return true;

    unsigned char* block = m_record.PrivateBlock();
    if (m_record.MoreSteps()) {
        m_record.SetMoreSteps(false);
        xvtui::protocol::SetAnnouncedMark(block, 1);
    }
    std::string prompt;
    const std::int32_t direction = m_record.Direction();
    if (m_record.PromptsEnabled() && m_record.PromptCounter() > kPromptCounterFloor && direction != 0) {
        if (direction == 1)
            prompt = m_mouseRightTerm.GetText();
        else if (direction == -1)
            prompt = m_mouseLeftTerm.GetText();
    } else if (xvtui::protocol::AnnouncedMark(block) != 0) {
        m_actionText = m_addActionTerm.GetText();
        if (ShowText(m_actionLabel, m_actionText)) {
            accessible::DescribeWindow(m_window, m_actionText);
            accessible::SetName(m_progressBar, m_actionText);
        }
    }
    ShowText(m_promptLabel, prompt);
    return false;
}

bool RndmDialog::OnKeyPressed(GdkEventKey& event)
{
    if (m_lastKey != 0 && m_lastKey == event.keyval)
        return false; // the same key again gives nothing until another was used
    if (Step(xvtui::protocol::KeyStep(event.time)))
        return true;
    m_lastKey = event.keyval;
    return false;
}

void RndmDialog::OnResize(unsigned int width)
{
    RedrawLabel(width, m_actionLabel, m_actionText);
}
