// PasswordDialogThreeEntry: asks for the current password (or PIN), a new one
// and its confirmation, when a secret is changed.
//
// OK is sensitive only while the new password and its confirmation hold the
// same bytes and both the current and the new password reach their minimum
// lengths. The too-short warning names the current secret while that one is
// short, and the new secret otherwise. The current password gets no quality
// warnings of its own; the tries-left warning (a wrong current password
// before) is shown with the others. The not-secure warning starts with the
// first focus of the confirmation field. Nothing is read from standard
// input. The answer, written only after an accepted OK, is the three-entry
// answer of protocol/PasswordRequest.h: the current password, then the new
// one (see client/PasswordRequest.h for reading it back).
//
// Widget names, besides PasswordDialogBase's:
//   "xvtui-password-table"            the current password's table (row 1 empty)
//   "xvtui-password-caption"          "xvtui-password-entry"          current
//   "xvtui-new-password-table"        the table of the new password
//   "xvtui-new-password-caption"      "xvtui-new-password-entry"      new
//   "xvtui-confirm-password-caption"  "xvtui-confirm-password-entry"  confirmation
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGTHREEENTRY_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGTHREEENTRY_H

#include <string>

#include "dialogs/password/PasswordDialogBase.h"

class PasswordDialogThreeEntry : public PasswordDialogBase {
public:
    explicit PasswordDialogThreeEntry(const PasswordDialogInfo& info,
                                      const xvtui::protocol::Pipe& pipe = xvtui::protocol::Pipe::Standard());
    ~PasswordDialogThreeEntry() override;

    void PrintResultToPipe() const override;
    void OnPasswordChanged() override;
    void AddPasswordWidgets() override;
    // The current password below its minimum (m_currentTerm := the password
    // word), else the new one below the new minimum (m_currentTerm := the
    // new-password word); false when both are long enough.
    bool IsPasswordTooShort() override;
    void UpdateWarnings() override;

    // First focus-in of the confirmation field; see PasswordDialogTwoEntry.
    void OnFocusChanged();

private:
    GtkWidget* m_currentPasswordEntry = nullptr;
    GtkWidget* m_newPasswordEntry = nullptr;
    GtkWidget* m_confirmationEntry = nullptr;
    bool m_confirmationFocused = false;
    secure::String m_currentPassword; // the fields' texts, copied on every change
    secure::String m_newPassword;
    secure::String m_confirmation;
    std::string m_triesLeftText;      // computed once; empty: nothing to say
};

#endif
