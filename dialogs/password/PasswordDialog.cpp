#include "dialogs/password/PasswordDialog.h"

#include <optional>

#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "dialogs/password/PasswordDialogBase.h"
#include "dialogs/password/PasswordDialogFactory.h"

std::unique_ptr<BaseDialog> PasswordDialog::CreatePasswordDialog(int argc, char** argv)
{
    // The record lives only until the dialog has copied what it needs.
    const std::optional<xvtui::protocol::PasswordRequest> request = xvtui::protocol::ParsePasswordRequest(argc, argv);
    if (!request)
        throw xvtui_exception(ResultCode::BadArgs, "CreatePasswordDialog", "Bad args in PasswordDialog constructor");
    return PasswordDialogFactory::CreatePasswordDialog(request->kind, request->info);
}
