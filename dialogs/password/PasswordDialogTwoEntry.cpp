#include "dialogs/password/PasswordDialogTwoEntry.h"

#include <cstdint>

#include "base/Callback.h"
#include "protocol/PasswordRequest.h"

namespace {

// "focus-in-event" of the confirmation field. FALSE: the entry still gets the
// event (and so the cursor).
gboolean cbOnFocusChangedTwoEntry(GtkWidget*, GdkEvent*, gpointer data)
{
    callback::Forward<PasswordDialogTwoEntry>("cbOnFocusChanged", data, &PasswordDialogTwoEntry::OnFocusChanged);
    return FALSE;
}

} // namespace

PasswordDialogTwoEntry::PasswordDialogTwoEntry(const PasswordDialogInfo& info, const xvtui::protocol::Pipe& pipe)
    : PasswordDialogBase(info, pipe)
{
    PasswordDialogBaseGtkInit(info.title);
    // The too-short warning can only ever be about the new secret here.
    m_currentTerm = m_newPasswordTerm;
}

PasswordDialogTwoEntry::~PasswordDialogTwoEntry() = default;

void PasswordDialogTwoEntry::AddPasswordWidgets()
{
    AddNewPasswordTable(m_newPasswordEntry, m_confirmationEntry, G_CALLBACK(cbOnFocusChangedTwoEntry), this);
}

void PasswordDialogTwoEntry::OnPasswordChanged()
{
    if (!WidgetsAlive()) {
        return; // the window is gone: the texts copied before OK are the answer
    }
    m_lengthCheckArmed = true;
    CopyEntryText(m_newPasswordEntry, m_newPassword);
    CopyEntryText(m_confirmationEntry, m_confirmation);
    UpdateNewPasswordOK(m_newPassword, m_confirmation);
    UpdateWarnings();
    ResetTimeout();
}

bool PasswordDialogTwoEntry::IsPasswordTooShort()
{
    return static_cast<std::int32_t>(m_newPassword.size()) < m_minNewPasswordLength;
}

void PasswordDialogTwoEntry::UpdateWarnings()
{
    GetWarningsForTwoEntryDialog(m_newPassword.view(), m_confirmation.view(), m_confirmationFocused);
    ShowWarnings();
}

void PasswordDialogTwoEntry::OnFocusChanged()
{
    if (!WidgetsAlive()) {
        return;
    }
    m_confirmationFocused = true;
    UpdateWarnings();
}

void PasswordDialogTwoEntry::PrintResultToPipe() const
{
    // The answer's block is wiped when it goes out of scope.
    WriteAnswer(m_pipe, xvtui::protocol::EncodeTwoEntryAnswer(m_newPassword.view()).view());
}
