// PasswordDialogFactory: the password dialog of one kind.
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGFACTORY_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGFACTORY_H

#include <memory>

#include "dialogs/password/PasswordDialogInfo.h"

#include "dialogs/password/PasswordDialogBase.h"

class PasswordDialogFactory {
public:
    // 1: PasswordDialogOneEntry (current password), 2: PasswordDialogTwoEntry
    // (new + confirmation), 3: PasswordDialogThreeEntry (current + new +
    // confirmation); any other kind, or a kind whose dialog is not built into
    // the program: null. Constructor exceptions pass through.
    static std::unique_ptr<PasswordDialogBase> CreatePasswordDialog(int kind, const PasswordDialogInfo& info);
};

#endif
