// PasswordDialogOneEntry: asks for the current password (or PIN) of a key
// container, with two optional check boxes: save the password in the system,
// or require it for every operation (mutually exclusive once set up).
//
// Before building any widget it reads two control words from its pipe's input
// (protocol/CheckBoxWord.h), one per box. Its answer, written only after an
// accepted OK, is the one-entry answer of protocol/PasswordRequest.h: both
// boxes' states and the password.
//
// Widget names, besides PasswordDialogBase's:
//   "xvtui-password-table"    the table of the entry and the boxes
//   "xvtui-password-caption"  the entry's caption
//   "xvtui-password-entry"    the entry
//   "xvtui-save-box"          "Save password in system"
//   "xvtui-dont-cache-box"    "Require password for every operation"
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGONEENTRY_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGONEENTRY_H

#include <cstdint>
#include <string>

#include "dialogs/password/PasswordDialogBase.h"
#include "protocol/CheckBoxWord.h"

class PasswordDialogOneEntry : public PasswordDialogBase {
public:
    enum CheckBoxIds { CB_SAVE_PASSWORD = 0, CB_DONT_CACHE = 1 };

    // Reads 8 bytes from the pipe's input (standard input), then builds the window.
    explicit PasswordDialogOneEntry(const PasswordDialogInfo& info,
                                    const xvtui::protocol::Pipe& pipe = xvtui::protocol::Pipe::Standard());
    ~PasswordDialogOneEntry() override;

    void PrintResultToPipe() const override;
    void OnOKClicked() override;
    void OnPasswordChanged() override;
    void AddPasswordWidgets() override;
    bool IsPasswordTooShort() override;
    void UpdateWarnings() override;

    // Applies one box's control word to that box (0: save box, else don't-cache box).
    void SetCBState(CheckBoxIds id);
    // "toggled" of either box: ticking one unticks the other.
    void OnToggleCheckButton(GtkToggleButton* button);

private:
    static void ApplyControlWord(GtkWidget* box, std::uint32_t word);

    secure::String m_password;          // the entry's text, copied on every change
    GtkWidget* m_passwordEntry = nullptr;
    GtkWidget* m_savePasswordBox = nullptr;
    GtkWidget* m_dontCacheBox = nullptr;
    std::string m_triesLeftText;        // computed once; empty: nothing to say
    bool m_savePassword = false;        // box states at the accepted OK
    bool m_dontCache = false;
    xvtui::protocol::CheckBoxWords m_boxControls; // as read from the parent
};

#endif
