// PasswordRequest.cpp: the new-password and password-change requests.
#include "client/PasswordRequest.h"

#include "protocol/Number.h"

namespace xvtui::client {
namespace {

std::int32_t LimitOrNone(const std::string& text)
{
    return protocol::ParseWholeNumber(text.c_str()).value_or(0);
}

std::size_t Utf8Characters(std::string_view bytes)
{
    std::size_t count = 0;
    for (const char c : bytes) {
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
            ++count;
    }
    return count;
}

bool Fits(std::size_t bytes, std::size_t characters, std::int32_t minBytes, std::int32_t maxCharacters)
{
    if (minBytes > 0 && bytes < static_cast<std::size_t>(minBytes))
        return false;
    return maxCharacters <= 0 || characters <= static_cast<std::size_t>(maxCharacters);
}

Field SecretField(std::string_view key, std::string_view value)
{
    Field field;
    field.key = std::string(key);
    field.value.assign(value);
    field.secret = true;
    return field;
}

} // namespace

std::vector<std::string> PasswordArguments(const PasswordRequestArgs& args, bool needPassword,
                                           bool needNewPassword)
{
    using namespace protocol;
    // From argv[1] on: every position one less than on the helper's side.
    std::vector<std::string> arguments(kPasswordArgumentCount - 1);
    const auto set = [&arguments](int position, std::string value) { arguments[position - 1] = std::move(value); };
    set(1, std::string(kPasswordKeyword));
    set(kTitleArgument, args.title);
    set(kHeaderArgument, args.header);
    set(kReaderNameArgument, args.readerName);
    set(kCarrierNameArgument, args.carrierName);
    set(kContainerNameArgument, args.containerName);
    set(kReaderCaptionArgument, args.readerCaption);
    set(kCarrierCaptionArgument, args.carrierCaption);
    set(kContainerCaptionArgument, args.containerCaption);
    set(kPasswordTermArgument, args.passwordTerm);
    set(kNewPasswordTermArgument, args.newPasswordTerm);
    set(kCarrierActiveArgument, args.carrierActive);
    set(kTriesLeftArgument, args.triesLeft);
    set(kMaxPasswordLengthArgument, args.maxPasswordLength);
    set(kMinPasswordLengthArgument, args.minPasswordLength);
    set(kMaxNewPasswordLengthArgument, args.maxNewPasswordLength);
    set(kMinNewPasswordLengthArgument, args.minNewPasswordLength);
    set(kNeedPasswordArgument, needPassword ? "1" : "0");
    set(kNeedNewPasswordArgument, needNewPassword ? "1" : "0");
    return arguments;
}

Request PinRequest(const PasswordRequestArgs& args, std::uint32_t saveBox, std::uint32_t dontCacheBox)
{
    Request request;
    request.arguments = PasswordArguments(args, true, false);
    AppendWord(request.input, saveBox);
    AppendWord(request.input, dontCacheBox);
    request.decoder = KeyDecoder({{std::string(kSavePasswdKey), ValueKind::Flag},
                                  {std::string(kDontCacheKey), ValueKind::Flag},
                                  {std::string(kPasswdKey), ValueKind::Secret}});
    request.secretAnswer = true;
    return request;
}

Request NewPasswordRequest(const PasswordRequestArgs& args)
{
    Request request;
    request.arguments = PasswordArguments(args, false, true);
    request.decoder = KeyDecoder({{std::string(kPasswdKey), ValueKind::Secret}});
    request.secretAnswer = true;
    return request;
}

Request ChangePasswordRequest(const PasswordRequestArgs& args)
{
    Request request;
    request.arguments = PasswordArguments(args, true, true);
    request.decoder = ChangePasswordDecoder(LimitsOf(args));
    request.secretAnswer = true;
    return request;
}

PasswordLimits LimitsOf(const PasswordRequestArgs& args)
{
    PasswordLimits limits;
    limits.maxOld = LimitOrNone(args.maxPasswordLength);
    limits.minOld = LimitOrNone(args.minPasswordLength);
    limits.maxNew = LimitOrNone(args.maxNewPasswordLength);
    limits.minNew = LimitOrNone(args.minNewPasswordLength);
    return limits;
}

std::optional<std::size_t> SplitChangeAnswer(std::string_view rest, const PasswordLimits& limits)
{
    // The characters before each key are counted on from the previous one, so
    // the answer is read a fixed number of times however many keys it holds.
    // The key is ASCII: the characters of OLD, the key and NEW add up to all.
    const std::size_t characters = Utf8Characters(rest);
    std::size_t counted = 0;
    std::size_t charactersBefore = 0;
    std::optional<std::size_t> last;
    std::optional<std::size_t> lastFitting;
    for (std::size_t at = rest.find(kPasswdKey); at != std::string_view::npos;
         at = rest.find(kPasswdKey, at + 1)) {
        charactersBefore += Utf8Characters(rest.substr(counted, at - counted));
        counted = at;
        const std::size_t newStart = at + kPasswdKey.size();
        last = newStart;
        if (Fits(at, charactersBefore, limits.minOld, limits.maxOld) &&
            Fits(rest.size() - newStart, characters - charactersBefore - kPasswdKey.size(), limits.minNew,
                 limits.maxNew))
            lastFitting = newStart;
    }
    return lastFitting ? lastFitting : last;
}

Decoder ChangePasswordDecoder(const PasswordLimits& limits)
{
    return [limits](std::string_view output, std::vector<Field>& fields, std::string& problem) {
        fields.clear();
        if (!output.starts_with(kOldPasswdKey)) {
            problem = "expected the key " + std::string(kOldPasswdKey);
            return false;
        }
        const std::string_view rest = output.substr(kOldPasswdKey.size());
        const std::optional<std::size_t> newStart = SplitChangeAnswer(rest, limits);
        if (!newStart) {
            problem = "expected the key " + std::string(kPasswdKey);
            return false;
        }
        fields.push_back(SecretField(kOldPasswdKey, rest.substr(0, *newStart - kPasswdKey.size())));
        fields.push_back(SecretField(kPasswdKey, rest.substr(*newStart)));
        return true;
    };
}

} // namespace xvtui::client
