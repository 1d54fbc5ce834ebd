#include "protocol/PasswordRequest.h"

#include "protocol/Answer.h"
#include "protocol/Number.h"

namespace xvtui::protocol {

std::optional<PasswordRequest> ParsePasswordRequest(int argc, const char* const* argv)
{
    if (argc < kPasswordArgumentCount || argv == nullptr)
        return std::nullopt;
    // All numbers first, in argument order: the first bad one refuses the request.
    constexpr int kNumbers = kPasswordArgumentCount - kCarrierActiveArgument;
    std::int32_t numbers[kNumbers];
    for (int i = 0; i < kNumbers; ++i) {
        const std::optional<std::int32_t> number = ParseWholeNumber(argv[kCarrierActiveArgument + i]);
        if (!number)
            return std::nullopt;
        numbers[i] = *number;
    }
    for (int i = kTitleArgument; i < kCarrierActiveArgument; ++i) {
        if (argv[i] == nullptr)
            return std::nullopt;
    }
    const auto number = [&numbers](PasswordArgument argument) { return numbers[argument - kCarrierActiveArgument]; };

    PasswordRequest request;
    PasswordDialogInfo& info = request.info;
    info.title = argv[kTitleArgument];
    info.header = std::string(argv[kHeaderArgument]) + "\n";
    info.readerName = argv[kReaderNameArgument];
    info.carrierName = argv[kCarrierNameArgument];
    info.containerName = argv[kContainerNameArgument];
    info.readerCaption = argv[kReaderCaptionArgument];
    info.carrierCaption = argv[kCarrierCaptionArgument];
    info.containerCaption = argv[kContainerCaptionArgument];
    info.passwordTerm = argv[kPasswordTermArgument];
    info.newPasswordTerm = argv[kNewPasswordTermArgument];
    info.carrierActive = number(kCarrierActiveArgument) != 0;
    info.triesLeft = number(kTriesLeftArgument);
    info.maxPasswordLength = number(kMaxPasswordLengthArgument);
    info.minPasswordLength = number(kMinPasswordLengthArgument);
    info.maxNewPasswordLength = number(kMaxNewPasswordLengthArgument);
    info.minNewPasswordLength = number(kMinNewPasswordLengthArgument);
    request.kind = ChoosePasswordKind(number(kNeedPasswordArgument), number(kNeedNewPasswordArgument));
    return request;
}

int ChoosePasswordKind(std::int32_t needPassword, std::int32_t needNewPassword)
{
    return (needPassword != 0 ? kOneEntryDialog : 0) | (needNewPassword != 0 ? kTwoEntryDialog : 0);
}

secure::String EncodeOneEntryAnswer(bool savePassword, bool dontCache, std::string_view password)
{
    secure::String answer;
    AppendFlag(answer, kSavePasswdKey, savePassword);
    AppendFlag(answer, kDontCacheKey, dontCache);
    AppendText(answer, kPasswdKey, password);
    return answer;
}

secure::String EncodeTwoEntryAnswer(std::string_view newPassword)
{
    secure::String answer;
    AppendText(answer, kPasswdKey, newPassword);
    return answer;
}

secure::String EncodeThreeEntryAnswer(std::string_view currentPassword, std::string_view newPassword)
{
    secure::String answer;
    AppendText(answer, kOldPasswdKey, currentPassword);
    AppendText(answer, kPasswdKey, newPassword);
    return answer;
}

} // namespace xvtui::protocol
