#include "dialogs/password/PasswordDialog.h"

#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "dialogs/password/PasswordDialogBase.h"
#include "dialogs/password/PasswordDialogFactory.h"

namespace {

[[noreturn]] void ThrowBadArgs()
{
    throw xvtui_exception(ResultCode::BadArgs, "CreatePasswordDialog", "Bad args in PasswordDialog constructor");
}

int ToInt(const char* text)
{
    int value = 0;
    if (text == nullptr || !BaseDialog::StringToInt(text, value)) {
        ThrowBadArgs();
    }
    return value;
}

} // namespace

PasswordDialog::Request PasswordDialog::ParseArguments(int argc, char** argv)
{
    if (argc < kArgumentCount || argv == nullptr) {
        ThrowBadArgs();
    }
    // All integers first, in argument order, so that a bad one fails before
    // anything else is done.
    int numbers[8];
    for (int i = 0; i < 8; ++i) {
        numbers[i] = ToInt(argv[12 + i]);
    }
    for (int i = 2; i <= 11; ++i) {
        if (argv[i] == nullptr) {
            ThrowBadArgs();
        }
    }

    Request request;
    PasswordDialogInfo& info = request.info;
    info.title = argv[2];
    info.header = std::string(argv[3]) + "\n";
    info.readerName = argv[4];
    info.carrierName = argv[5];
    info.containerName = argv[6];
    info.readerCaption = argv[7];
    info.carrierCaption = argv[8];
    info.containerCaption = argv[9];
    info.passwordTerm = argv[10];
    info.newPasswordTerm = argv[11];
    info.carrierActive = numbers[0] != 0;
    info.triesLeft = numbers[1];
    info.maxPasswordLength = numbers[2];
    info.minPasswordLength = numbers[3];
    info.maxNewPasswordLength = numbers[4];
    info.minNewPasswordLength = numbers[5];
    request.kind = ChooseKind(numbers[6], numbers[7]);
    return request;
}

int PasswordDialog::ChooseKind(int needPassword, int needNewPassword)
{
    return (needPassword != 0 ? 1 : 0) + (needNewPassword != 0 ? 2 : 0);
}

std::unique_ptr<BaseDialog> PasswordDialog::CreatePasswordDialog(int argc, char** argv)
{
    // The record lives only until the dialog has copied what it needs.
    const Request request = ParseArguments(argc, argv);
    return PasswordDialogFactory::CreatePasswordDialog(request.kind, request.info);
}
