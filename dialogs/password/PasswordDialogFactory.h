// PasswordDialogFactory: the password dialog of one kind.
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGFACTORY_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGFACTORY_H

#include <memory>

#include "dialogs/password/PasswordDialogBase.h"
#include "dialogs/password/PasswordDialogInfo.h"
#include "protocol/Pipe.h"

class PasswordDialogFactory {
public:
    // The kinds of protocol/PasswordRequest.h: 1 PasswordDialogOneEntry
    // (current password), 2 PasswordDialogTwoEntry (new + confirmation), 3
    // PasswordDialogThreeEntry (current + new + confirmation); any other kind:
    // null. The dialog talks to its parent through `pipe`. Constructor
    // exceptions pass through.
    static std::unique_ptr<PasswordDialogBase> CreatePasswordDialog(
        int kind, const PasswordDialogInfo& info,
        const xvtui::protocol::Pipe& pipe = xvtui::protocol::Pipe::Standard());
};

#endif
