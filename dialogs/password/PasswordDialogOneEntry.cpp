#include "dialogs/password/PasswordDialogOneEntry.h"

#include "base/Callback.h"
#include "l10n/VtuiLogic.h"
#include "protocol/PasswordRequest.h"

namespace {

constexpr guint kTablePadding = 10;

void cbToggleCheckButton(GtkToggleButton* button, gpointer data)
{
    callback::Forward<PasswordDialogOneEntry>(
        "cbToggleCheckButton", data, [button](PasswordDialogOneEntry& dialog) { dialog.OnToggleCheckButton(button); });
}

} // namespace

PasswordDialogOneEntry::PasswordDialogOneEntry(const PasswordDialogInfo& info, const xvtui::protocol::Pipe& pipe)
    : PasswordDialogBase(info, pipe)
{
    const xvtui::protocol::Pipe input = WatchedInput(m_pipe);
    m_boxControls = xvtui::protocol::ReadCheckBoxWords(input);
    RaiseIfGaveUp(input, "PasswordDialogOneEntry");
    PasswordDialogBaseGtkInit(info.title);
    m_triesLeftText = VtuiLogic::get_tries_warning_string(static_cast<unsigned>(info.triesLeft), m_passwordTerm);
    m_currentTerm = m_passwordTerm;
}

PasswordDialogOneEntry::~PasswordDialogOneEntry() = default;

void PasswordDialogOneEntry::AddPasswordWidgets()
{
    GtkWidget* table = gtk_table_new(3, 3, TRUE);
    gtk_widget_set_name(table, "xvtui-password-table");
    AttachEntryRow(table, 0, m_askPasswordTerm, "xvtui-password-caption", m_passwordEntry, m_maxPasswordLength,
                   "xvtui-password-entry");

    // Each box is set up completely before the next exists and before the
    // exclusion handler is connected, so set-up never unticks anything.
    m_savePasswordBox = gtk_check_button_new_with_label(m_savePasswordTerm.c_str());
    gtk_widget_set_name(m_savePasswordBox, "xvtui-save-box");
    gtk_table_attach_defaults(GTK_TABLE(table), m_savePasswordBox, 1, 3, 1, 2);
    SetCBState(CB_SAVE_PASSWORD);

    m_dontCacheBox = gtk_check_button_new_with_label(m_dontCacheTerm.c_str());
    gtk_widget_set_name(m_dontCacheBox, "xvtui-dont-cache-box");
    gtk_table_attach_defaults(GTK_TABLE(table), m_dontCacheBox, 1, 3, 2, 3);
    SetCBState(CB_DONT_CACHE);

    g_signal_connect(m_savePasswordBox, "toggled", G_CALLBACK(cbToggleCheckButton), this);
    g_signal_connect(m_dontCacheBox, "toggled", G_CALLBACK(cbToggleCheckButton), this);

    gtk_box_pack_start(GTK_BOX(m_mainBox), table, FALSE, FALSE, kTablePadding);
}

void PasswordDialogOneEntry::SetCBState(CheckBoxIds id)
{
    if (id == CB_SAVE_PASSWORD) {
        ApplyControlWord(m_savePasswordBox, m_boxControls.savePassword);
    } else {
        ApplyControlWord(m_dontCacheBox, m_boxControls.dontCache);
    }
}

void PasswordDialogOneEntry::ApplyControlWord(GtkWidget* box, std::uint32_t word)
{
    if (box == nullptr) {
        return;
    }
    // A hidden box comes back with the window's show-all (see the decoder).
    const xvtui::protocol::CheckBoxState state = xvtui::protocol::DecodeCheckBoxWord(word);
    if (state.hide) {
        gtk_widget_hide(box);
        return;
    }
    if (state.insensitive) {
        gtk_widget_set_sensitive(box, FALSE);
    }
    if (state.active) {
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(box), TRUE);
    }
}

void PasswordDialogOneEntry::OnToggleCheckButton(GtkToggleButton* button)
{
    if (!WidgetsAlive() || button == nullptr || !gtk_toggle_button_get_active(button)) {
        return;
    }
    // Unticking the other box emits its own "toggled", which stops above.
    if (GTK_WIDGET(button) == m_savePasswordBox) {
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(m_dontCacheBox), FALSE);
    } else if (GTK_WIDGET(button) == m_dontCacheBox) {
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(m_savePasswordBox), FALSE);
    }
}

void PasswordDialogOneEntry::OnPasswordChanged()
{
    if (!WidgetsAlive()) {
        return;
    }
    m_lengthCheckArmed = true;
    CopyEntryText(m_passwordEntry, m_password);
    gtk_widget_set_sensitive(m_okButton, IsPasswordTooShort() ? FALSE : TRUE);
    UpdateWarnings();
    ResetTimeout();
}

bool PasswordDialogOneEntry::IsPasswordTooShort()
{
    // Bytes of the UTF-8 text, not characters; a minimum of 0 or less never applies.
    const auto length = static_cast<std::int32_t>(m_password.size());
    return length < m_minPasswordLength;
}

void PasswordDialogOneEntry::UpdateWarnings()
{
    m_errors = PasswordWarnings::Queue();
    GetWarningsBase(m_password.view());
    AddTriesLeftWarning(m_triesLeftText);
    ShowWarnings();
}

void PasswordDialogOneEntry::OnOKClicked()
{
    if (!WidgetsAlive()) {
        return;
    }
    m_lengthCheckArmed = true;
    if (IsPasswordTooShort()) {
        gtk_widget_set_sensitive(m_okButton, FALSE);
        UpdateWarnings();
        return;
    }
    m_savePassword = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(m_savePasswordBox)) != FALSE;
    m_dontCache = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(m_dontCacheBox)) != FALSE;
    TerminateDialog(0);
}

void PasswordDialogOneEntry::PrintResultToPipe() const
{
    // The answer's block is wiped when it goes out of scope.
    WriteAnswer(m_pipe, xvtui::protocol::EncodeOneEntryAnswer(m_savePassword, m_dontCache, m_password.view()).view());
}
