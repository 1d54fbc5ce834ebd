// PasswordDialogTwoEntry: asks for a new password (or PIN) and its
// confirmation, when a secret is set for the first time.
//
// OK is sensitive only while both fields hold the same bytes and the new
// password is at least the new-password minimum long. The not-secure warning
// is checked only once the confirmation field has had the keyboard focus, so
// that it does not nag while the first field is still being typed. Nothing is
// read from standard input. The answer, written only after an accepted OK, is
// the two-entry answer of protocol/PasswordRequest.h: the new password.
//
// Widget names, besides PasswordDialogBase's:
//   "xvtui-new-password-table"        the table of both fields
//   "xvtui-new-password-caption"      "xvtui-new-password-entry"      row 0
//   "xvtui-confirm-password-caption"  "xvtui-confirm-password-entry"  row 1
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGTWOENTRY_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGTWOENTRY_H

#include "dialogs/password/PasswordDialogBase.h"

class PasswordDialogTwoEntry : public PasswordDialogBase {
public:
    explicit PasswordDialogTwoEntry(const PasswordDialogInfo& info,
                                    const xvtui::protocol::Pipe& pipe = xvtui::protocol::Pipe::Standard());
    ~PasswordDialogTwoEntry() override;

    void PrintResultToPipe() const override;
    void OnPasswordChanged() override;
    void AddPasswordWidgets() override;
    // The new password is shorter (in bytes) than the new-password minimum.
    bool IsPasswordTooShort() override;
    void UpdateWarnings() override;

    // First focus-in of the confirmation field: from now on the strength of
    // the new password is judged. The flag never goes back.
    void OnFocusChanged();

private:
    GtkWidget* m_newPasswordEntry = nullptr;
    GtkWidget* m_confirmationEntry = nullptr;
    bool m_confirmationFocused = false;
    secure::String m_newPassword;  // the fields' texts, copied on every change
    secure::String m_confirmation;
};

#endif
