#include "dialogs/password/PasswordWarnings.h"

#include <climits>

#include "base/secure/SecureString.h"
#include "dialogs/password/PasswordQuality.h"
#include "l10n/FormatCheck.h"
#include "support/torvik.h"

namespace PasswordWarnings {

std::string PrintToString(const std::string& format, const std::string& value)
{
    return VtuiLogic::FormatOneValue(format, value.c_str()).value_or(format);
}

bool HasNotASCIISymbols(std::string_view text)
{
    // Decoded as CSPLocalizer::ToWstring decodes (up to the first NUL; a failed
    // conversion counts as no characters), but into secure storage, and in one
    // call: a UTF-8 text never has more wide characters than bytes, so the
    // target is big enough and no measuring pass leaves a wide copy in the
    // converter's scratch space.
    if (text.size() >= static_cast<std::size_t>(INT_MAX)) {
        return true; // beyond what the converter takes; no entry holds that much
    }
    const secure::String source(text);
    secure::WString wide;
    wide.resize(source.size() + 1);
    const int converted = MultiByteToWideChar(TORVIK_CP_UTF8, 0, source.c_str(), -1, wide.data(),
                                              static_cast<int>(wide.size()));
    const std::size_t wideLength = converted > 0 ? static_cast<std::size_t>(converted) - 1 : 0;
    return wideLength != text.size();
}

void AddBaseWarnings(Queue& errors, const Texts& texts, std::string_view password, bool capsLockOn, bool tooShort,
                     const std::string& currentTerm, const std::string& newPasswordTerm)
{
    if (HasNotASCIISymbols(password)) {
        errors.push({kNotAscii, PrintToString(texts.notAscii, newPasswordTerm)});
    }
    if (capsLockOn) {
        errors.push({kCapsLock, texts.capsLock});
    }
    if (tooShort) {
        errors.push({kTooShort, PrintToString(texts.minLength, currentTerm)});
    }
}

void AddTwoEntryWarnings(Queue& errors, const Texts& texts, std::string_view newPassword,
                         std::string_view confirmation, bool checkStrength, const std::string& newPasswordTerm)
{
    if (newPassword != confirmation) {
        errors.push({kNotEqual, texts.notEqual});
    }
    if (checkStrength) {
        const secure::String terminated(newPassword);
        int secureFlag = 0;
        if (is_passwd_secure(terminated.c_str(), &secureFlag, 2.0) == 0 && secureFlag == 0) {
            errors.push({kNotSecure, PrintToString(texts.notSecure, newPasswordTerm)});
        }
    }
}

void AddTriesLeftWarning(Queue& errors, const std::string& text)
{
    if (!text.empty()) {
        errors.push({kTriesLeft, text});
    }
}

std::string TakeHintText(Queue& errors)
{
    std::string text;
    for (int line = 0; line < 3; ++line) {
        if (!errors.empty()) {
            text += errors.top().text;
            errors.pop();
        }
        text += "\n";
    }
    return text;
}

} // namespace PasswordWarnings
