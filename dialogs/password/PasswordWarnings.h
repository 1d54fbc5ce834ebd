// The warnings under the password entries: their ranks, the rules that add
// them and the three-line text of the hint label. Plain code without GTK, so
// the rules can be checked without a display; PasswordDialogBase feeds them
// its terms and state.
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDWARNINGS_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDWARNINGS_H

#include <cstdint>
#include <queue>
#include <string>
#include <string_view>

namespace PasswordWarnings {

// Rank of a warning; a larger value is shown first. Each is added at most once
// per computation.
enum Priority : std::uint32_t {
    kCapsLock = 0,   // "Caps Lock button is on"
    kNotAscii = 1,   // "Entered %s contains not ASCII symbols" (new-password word)
    kNotSecure = 2,  // "Entered %s is not secure" (new-password word)
    kTooShort = 3,   // "Entered %s is too short" (word of the short password)
    kTriesLeft = 4,  // the tries-left text
    kNotEqual = 5,   // "Input and confirmation do not match"
};

// One warning. Ordered by priority alone (unsigned), so that a
// std::priority_queue puts the most important one on top.
struct PasswordError {
    std::uint32_t priority = 0;
    std::string text;

    friend bool operator<(const PasswordError& left, const PasswordError& right)
    {
        return left.priority < right.priority;
    }
};

using Queue = std::priority_queue<PasswordError>;

// The display texts the rules put in; the three formats have one "%s".
struct Texts {
    std::string notEqual;        // m_notEqualTerm
    std::string capsLock;        // m_capsLockTerm
    std::string minLength;       // m_minLengthTerm, "%s": the short password's word
    std::string notAscii;        // m_ASCIISymbolsTerm, "%s": new-password word
    std::string notSecure;       // m_notSecurePasswordTerm, "%s": new-password word
};

// `format` with its one "%s" replaced by `value` (FormatOneValue of
// l10n/FormatCheck.h); a format it refuses is returned unformatted.
std::string PrintToString(const std::string& format, const std::string& value);

// True when `text`, decoded as UTF-8, has fewer wide characters than bytes:
// it holds a multi-byte character (or is not valid UTF-8 at all). The decoded
// copy lives in wiped storage.
bool HasNotASCIISymbols(std::string_view text);

// What GetWarningsBase adds for one password, in this order: not ASCII
// (priority 1, `newPasswordTerm`), Caps Lock (0) when `capsLockOn`, too short
// (3, `currentTerm`) when `tooShort` (already armed and checked by the caller).
void AddBaseWarnings(Queue& errors, const Texts& texts, std::string_view password, bool capsLockOn, bool tooShort,
                     const std::string& currentTerm, const std::string& newPasswordTerm);

// What GetWarningsForTwoEntryDialog adds before the base warnings: not equal
// (5) when the texts differ; not secure (2) when `checkStrength` and
// is_passwd_secure says so (a failing check adds nothing). `newPassword` must
// be NUL-terminated at its size (a secure::String's view is).
void AddTwoEntryWarnings(Queue& errors, const Texts& texts, std::string_view newPassword,
                         std::string_view confirmation, bool checkStrength, const std::string& newPasswordTerm);

// The tries-left warning (4), queued only when `text` is not empty.
void AddTriesLeftWarning(Queue& errors, const std::string& text);

// Takes up to three warnings off the top of `errors`, highest first, and
// returns them as exactly three lines (each ends with "\n"; missing warnings
// give empty lines), so the label never changes its height. The rest stays.
std::string TakeHintText(Queue& errors);

} // namespace PasswordWarnings

#endif
