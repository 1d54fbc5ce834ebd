#include "dialogs/password/PasswordDialogThreeEntry.h"

#include <cstdint>

#include "base/Callback.h"
#include "l10n/VtuiLogic.h"
#include "protocol/PasswordRequest.h"

namespace {

constexpr guint kTablePadding = 10;

// "focus-in-event" of the confirmation field. FALSE: the entry still gets the
// event (and so the cursor).
gboolean cbOnFocusChangedThreeEntry(GtkWidget*, GdkEvent*, gpointer data)
{
    callback::Forward<PasswordDialogThreeEntry>("cbOnFocusChanged", data,
                                                &PasswordDialogThreeEntry::OnFocusChanged);
    return FALSE;
}

} // namespace

PasswordDialogThreeEntry::PasswordDialogThreeEntry(const PasswordDialogInfo& info,
                                                   const xvtui::protocol::Pipe& pipe)
    : PasswordDialogBase(info, pipe)
{
    PasswordDialogBaseGtkInit(info.title);
    m_triesLeftText = VtuiLogic::get_tries_warning_string(static_cast<unsigned>(info.triesLeft), m_passwordTerm);
    // m_currentTerm is chosen by IsPasswordTooShort, whichever password is short.
}

PasswordDialogThreeEntry::~PasswordDialogThreeEntry() = default;

void PasswordDialogThreeEntry::AddPasswordWidgets()
{
    // The current password: a homogeneous two-row table of which only the
    // first row is used; the empty row keeps it apart from the new password.
    GtkWidget* currentTable = gtk_table_new(2, 3, TRUE);
    gtk_widget_set_name(currentTable, "xvtui-password-table");
    AttachEntryRow(currentTable, 0, m_askPasswordTerm, "xvtui-password-caption", m_currentPasswordEntry,
                   m_maxPasswordLength, "xvtui-password-entry");
    gtk_box_pack_start(GTK_BOX(m_mainBox), currentTable, FALSE, FALSE, kTablePadding);

    AddNewPasswordTable(m_newPasswordEntry, m_confirmationEntry, G_CALLBACK(cbOnFocusChangedThreeEntry), this);
}

void PasswordDialogThreeEntry::OnPasswordChanged()
{
    if (!WidgetsAlive()) {
        return; // the window is gone: the texts copied before OK are the answer
    }
    m_lengthCheckArmed = true;
    CopyEntryText(m_currentPasswordEntry, m_currentPassword);
    CopyEntryText(m_newPasswordEntry, m_newPassword);
    CopyEntryText(m_confirmationEntry, m_confirmation);
    UpdateNewPasswordOK(m_newPassword, m_confirmation);
    UpdateWarnings();
    ResetTimeout();
}

bool PasswordDialogThreeEntry::IsPasswordTooShort()
{
    if (static_cast<std::int32_t>(m_currentPassword.size()) < m_minPasswordLength) {
        m_currentTerm = m_passwordTerm;
        return true;
    }
    if (static_cast<std::int32_t>(m_newPassword.size()) < m_minNewPasswordLength) {
        m_currentTerm = m_newPasswordTerm;
        return true;
    }
    return false;
}

void PasswordDialogThreeEntry::UpdateWarnings()
{
    GetWarningsForTwoEntryDialog(m_newPassword.view(), m_confirmation.view(), m_confirmationFocused);
    AddTriesLeftWarning(m_triesLeftText);
    ShowWarnings();
}

void PasswordDialogThreeEntry::OnFocusChanged()
{
    if (!WidgetsAlive()) {
        return;
    }
    m_confirmationFocused = true;
    UpdateWarnings();
}

void PasswordDialogThreeEntry::PrintResultToPipe() const
{
    // The answer's block is wiped when it goes out of scope.
    WriteAnswer(m_pipe, xvtui::protocol::EncodeThreeEntryAnswer(m_currentPassword.view(), m_newPassword.view()).view());
}
