// PasswordDialog: the "VTQueryPinEx" request parser.
//
// The command line is checked and converted completely (ParseArguments, no GTK
// involved) before any dialog or window is built. The two flags argv[18] (ask
// the current password) and argv[19] (ask a new one) choose the dialog kind of
// PasswordDialogFactory: 1 one entry, 2 new + confirmation, 3 current + new +
// confirmation, 0 none.
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOG_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOG_H

#include <memory>

#include "dialogs/password/PasswordDialogInfo.h"

class BaseDialog;

class PasswordDialog {
public:
    // The smallest valid argc: the program, the keyword and 18 arguments.
    static constexpr int kArgumentCount = 20;

    struct Request {
        PasswordDialogInfo info;
        int kind = 0; // PasswordDialogFactory kind: 0 to 3
    };

    // Checks and converts argv[2..19]. Raises xvtui_exception 0x80070057
    // "Bad args in PasswordDialog constructor" (function CreatePasswordDialog)
    // when argc is below 20 or an integer argument does not convert; the
    // integers are converted in order argv[12] .. argv[19] and the first bad
    // one ends the parse. Arguments after argv[19] are ignored.
    static Request ParseArguments(int argc, char** argv);

    // Kind from the two flags: (needPassword ? 1 : 0) + (needNewPassword ? 2 : 0).
    static int ChooseKind(int needPassword, int needNewPassword);

    // Parses, then builds the chosen dialog through PasswordDialogFactory. Null
    // when both flags are 0 (or the kind's dialog does not exist); the caller
    // then reports "Error in creating VTQueryPinEx dialog". Exceptions of the
    // dialog's constructor pass through.
    static std::unique_ptr<BaseDialog> CreatePasswordDialog(int argc, char** argv);
};

#endif
