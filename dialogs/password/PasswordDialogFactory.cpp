#include "dialogs/password/PasswordDialogFactory.h"

#include "dialogs/password/PasswordDialogOneEntry.h"

std::unique_ptr<PasswordDialogBase> PasswordDialogFactory::CreatePasswordDialog(int kind,
                                                                                const PasswordDialogInfo& info)
{
    switch (kind) {
    case 1:
        return std::make_unique<PasswordDialogOneEntry>(info);
    default:
        return nullptr;
    }
}
