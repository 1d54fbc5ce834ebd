#include "dialogs/password/PasswordDialogFactory.h"

#include "dialogs/password/PasswordDialogOneEntry.h"
#include "dialogs/password/PasswordDialogThreeEntry.h"
#include "dialogs/password/PasswordDialogTwoEntry.h"

std::unique_ptr<PasswordDialogBase> PasswordDialogFactory::CreatePasswordDialog(int kind,
                                                                                const PasswordDialogInfo& info,
                                                                                const xvtui::protocol::Pipe& pipe)
{
    switch (kind) {
    case xvtui::protocol::kOneEntryDialog:
        return std::make_unique<PasswordDialogOneEntry>(info, pipe);
    case xvtui::protocol::kTwoEntryDialog:
        return std::make_unique<PasswordDialogTwoEntry>(info, pipe);
    case xvtui::protocol::kThreeEntryDialog:
        return std::make_unique<PasswordDialogThreeEntry>(info, pipe);
    default:
        return nullptr;
    }
}
