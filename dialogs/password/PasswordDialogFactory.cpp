#include "dialogs/password/PasswordDialogFactory.h"

#include "dialogs/password/PasswordDialogOneEntry.h"
#include "dialogs/password/PasswordDialogThreeEntry.h"
#include "dialogs/password/PasswordDialogTwoEntry.h"

std::unique_ptr<PasswordDialogBase> PasswordDialogFactory::CreatePasswordDialog(int kind,
                                                                                const PasswordDialogInfo& info)
{
    switch (kind) {
    case 1:
        return std::make_unique<PasswordDialogOneEntry>(info);
    case 2:
        return std::make_unique<PasswordDialogTwoEntry>(info);
    case 3:
        return std::make_unique<PasswordDialogThreeEntry>(info);
    default:
        return nullptr;
    }
}
