#include "dialogs/message/MessageDialog.h"

#include <optional>
#include <utility>

#include "app/xvtui_exception.h"
#include "base/Accessible.h"
#include "base/Callback.h"
#include "base/Countdown.h"
#include "base/TextFit.h"

namespace {

constexpr unsigned kDontShowLabelId = 2118;
constexpr guint kShowDelayMs = 50;
constexpr guint kTimerIntervalMs = 1000;

void cbOnResponse(GtkDialog*, gint response, gpointer data)
{
    callback::Forward<MessageDialog>("cbOnResponse", data, [response](MessageDialog& dialog) {
        dialog.OnResponse(static_cast<GtkResponseType>(response));
    });
}

gboolean cbOnShowDialog(gpointer data)
{
    return callback::Forward<MessageDialog>("cbOnShowDialog", data, &MessageDialog::OnDialog);
}

gboolean cbTimerEvent(gpointer data)
{
    return callback::Forward<MessageDialog>("cbTimerEvent", data, &MessageDialog::OnTimer);
}

gboolean cbOnPrepare(gpointer data)
{
    return callback::Forward<MessageDialog>("cbOnPrepare", data, &MessageDialog::OnPrepare);
}


} // namespace

MessageDialog::MessageDialog(int argc, char** argv, const xvtui::protocol::Pipe& pipe)
    : BaseDialog(DialogKind::Message, "message_time", "message_show_time", "message_resume_time"), m_pipe(pipe)
{
    std::optional<xvtui::protocol::MessageRequest> request = xvtui::protocol::ParseMessageRequest(argc, argv);
    if (!request)
        throw xvtui_exception(ResultCode::BadArgs, "MessageDialog", "Bad args in MessageDialog constructor");
    m_request = std::move(*request);
    MessageGtkInit();
}

MessageDialog::~MessageDialog()
{
    if (m_prepareSourceId != 0)
        g_source_remove(m_prepareSourceId);
    if (m_showSourceId != 0)
        g_source_remove(m_showSourceId);
    if (m_timerSourceId != 0)
        g_source_remove(m_timerSourceId);
    if (m_dialog != nullptr) {
        g_signal_handlers_disconnect_matched(m_dialog, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
        gtk_widget_destroy(m_dialog);
    }
}

void MessageDialog::MessageGtkInit()
{
    const GtkButtonsType buttons = m_request.OkCancel() ? GTK_BUTTONS_OK_CANCEL : GTK_BUTTONS_OK;
    // "%s": the provider's text is never read as a format.
    m_dialog = gtk_message_dialog_new(GTK_WINDOW(m_window), GTK_DIALOG_DESTROY_WITH_PARENT, GTK_MESSAGE_QUESTION,
                                      buttons, "%s", Displayable(m_request.text).c_str());
    // Cleared by GObject when the dialog is destroyed, whoever destroys it.
    g_object_add_weak_pointer(G_OBJECT(m_dialog), reinterpret_cast<gpointer*>(&m_dialog));
    gtk_widget_set_name(m_dialog, "xvtui-message");
    gtk_window_set_title(GTK_WINDOW(m_dialog), m_titleTerm.c_str());
    accessible::DescribeWindow(m_dialog, Displayable(m_request.text));
    g_signal_connect(m_dialog, "response", G_CALLBACK(cbOnResponse), this);
    // Enter answers OK even while the check box has the focus (space toggles it).
    gtk_dialog_set_default_response(GTK_DIALOG(m_dialog), GTK_RESPONSE_OK);

    if (IsOldKeysWarning()) {
        const std::string label = Displayable(m_localizer->Localize(kDontShowLabelId));
        m_dontShowCheck = gtk_check_button_new_with_label(label.c_str());
        gtk_widget_set_name(m_dontShowCheck, "xvtui-dont-show");
        gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(m_dialog))), m_dontShowCheck, TRUE,
                           TRUE, 0);
        // Accepting the dialog unchanged means: do not warn about these keys again.
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(m_dontShowCheck), TRUE);
        gtk_widget_show(m_dontShowCheck);
    }

    // The dialog is laid out, its icon looked up in the icon theme and its
    // window made while the 50 ms before it shows pass anyway, so that only
    // the mapping is left when they are over.
    m_prepareSourceId = g_idle_add_full(G_PRIORITY_HIGH_IDLE, cbOnPrepare, this, nullptr);
    m_showSourceId = g_timeout_add(kShowDelayMs, cbOnShowDialog, this);
    m_timerSourceId = g_timeout_add(kTimerIntervalMs, cbTimerEvent, this);
}

std::uint32_t MessageDialog::ShowDialog()
{
    callback::RethrowParked();
    gtk_main();
    callback::RethrowParked();
    return m_result;
}

void MessageDialog::PrintResultToPipe() const
{
    WriteAnswer(m_pipe, xvtui::protocol::EncodeMessageAnswer(m_dontShowWarning).view());
}

bool MessageDialog::IsOldKeysWarning() const
{
    return m_request.OldKeysWarning();
}

void MessageDialog::OnResponse(GtkResponseType response)
{
    m_result = response == GTK_RESPONSE_OK ? ResultCode::Answered : ResultCode::Cancelled;
    if (m_dontShowCheck != nullptr) {
        m_dontShowWarning = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(m_dontShowCheck)) != FALSE;
        gtk_widget_destroy(m_dontShowCheck);
        m_dontShowCheck = nullptr;
    }
    QuitMainLoop();
}

bool MessageDialog::OnPrepare()
{
    m_prepareSourceId = 0; // one-shot: the source ends when this returns
    if (m_dialog != nullptr) {
        textfit::FitTexts(m_dialog); // no text makes the dialog larger than the screen
        gtk_widget_realize(m_dialog);
    }
    return false;
}

bool MessageDialog::OnDialog()
{
    m_showSourceId = 0; // one-shot: the source ends when this returns
    if (m_prepareSourceId != 0) { // the main loop was late: ready it now
        g_source_remove(m_prepareSourceId);
        OnPrepare();
    }
    if (m_dialog != nullptr) {
        const gint response = gtk_dialog_run(GTK_DIALOG(m_dialog));
        // GTK_RESPONSE_NONE: the dialog was destroyed or hidden meanwhile.
        if (response != GTK_RESPONSE_NONE && m_dialog != nullptr)
            gtk_widget_destroy(m_dialog);
    }
    QuitMainLoop();
    return false;
}

bool MessageDialog::OnTimer()
{
    if (CheckBrokenPipe()) {
        m_timerSourceId = 0; // the boundary stops this source
        throw xvtui_exception(ResultCode::BrokenPipe, "OnTimer", "broken pipe");
    }
    if (!MessageCountdownStep(m_timeLeft))
        return true;
    m_timerSourceId = 0;
    if (m_dialog != nullptr)
        gtk_dialog_response(GTK_DIALOG(m_dialog), GTK_RESPONSE_CANCEL);
    return false;
}
