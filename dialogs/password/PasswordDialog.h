// PasswordDialog: the "VTQueryPinEx" request turned into a password dialog.
//
// The command line is checked and converted completely by the protocol's
// parser (protocol/PasswordRequest.h, no GTK involved) before any dialog or
// window is built; the two flags choose the dialog kind of
// PasswordDialogFactory.
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOG_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOG_H

#include <memory>

#include "dialogs/password/PasswordDialogInfo.h"

class BaseDialog;

class PasswordDialog {
public:
    // Parses argv, then builds the chosen dialog through PasswordDialogFactory.
    // A refused request raises xvtui_exception 0x80070057 "Bad args in
    // PasswordDialog constructor" (function CreatePasswordDialog). Null when
    // both flags are 0; the caller then reports "Error in creating
    // VTQueryPinEx dialog". Exceptions of the dialog's constructor pass through.
    static std::unique_ptr<BaseDialog> CreatePasswordDialog(int argc, char** argv);
};

#endif
