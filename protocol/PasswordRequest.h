/*
 * The password request ("VTQueryPinEx") and the answers of its three dialogs.
 *
 * Command line: program, keyword and 18 positional arguments (PasswordArgument
 * below); more are ignored, fewer refuse the request. The eight numbers are
 * whole numbers (Number.h), converted in argument order. The last two choose
 * the dialog: ask the current password, ask a new one (twice).
 *
 * Answers, with no separators or terminator; the password is always last and
 * runs to the end of the output:
 *   one entry:    kSavePasswdKey flag, kDontCacheKey flag, kPasswdKey password
 *   two entries:  kPasswdKey new password
 *   three:        kOldPasswdKey current password, kPasswdKey new password
 * The one-entry dialog first reads its two check boxes' control words
 * (CheckBoxWord.h) from standard input.
 */
#ifndef XVTUI_PROTOCOL_PASSWORDREQUEST_H
#define XVTUI_PROTOCOL_PASSWORDREQUEST_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/secure/SecureString.h"

namespace xvtui::protocol {

inline constexpr std::string_view kPasswordKeyword = "VTQueryPinEx";

// Where each argument stands on the command line.
enum PasswordArgument : int {
    kTitleArgument = 2,
    kHeaderArgument,
    kReaderNameArgument,
    kCarrierNameArgument,
    kContainerNameArgument,
    kReaderCaptionArgument,
    kCarrierCaptionArgument,
    kContainerCaptionArgument,
    kPasswordTermArgument,
    kNewPasswordTermArgument,
    kCarrierActiveArgument, // the first number
    kTriesLeftArgument,
    kMaxPasswordLengthArgument,
    kMinPasswordLengthArgument,
    kMaxNewPasswordLengthArgument,
    kMinNewPasswordLengthArgument,
    kNeedPasswordArgument,
    kNeedNewPasswordArgument,
    // The smallest valid argc.
    kPasswordArgumentCount,
};

// One parsed request, the only input of the password dialogs; a dialog copies
// what it needs, so the record may die right after the dialog is built.
struct PasswordDialogInfo {
    std::string title;            // window title; empty keeps the default one
    std::string header;           // the header argument + "\n": text above the information table
    std::string readerName;       // value of the reader row
    std::string carrierName;      // value of the carrier row
    std::string containerName;    // container name; empty drops the container row
    std::string readerCaption;    // caption of the reader row
    std::string carrierCaption;   // caption of the carrier row
    std::string containerCaption; // caption of the container row
    std::string passwordTerm;     // the word naming the secret ("password", "PIN")
    std::string newPasswordTerm;  // the word naming the new secret; empty: passwordTerm
    bool carrierActive = false;   // false greys the carrier row
    std::int32_t triesLeft = 0;   // for the tries-left warning
    // The four lengths hold the parsed 32-bit values widened with their sign.
    std::int64_t maxPasswordLength = 0;    // characters; 0 or less: no limit
    std::int64_t minPasswordLength = 0;    // bytes
    std::int64_t maxNewPasswordLength = 0;
    std::int64_t minNewPasswordLength = 0;
};

// Which dialog a request asks for, numbered as PasswordDialogFactory numbers
// them: one bit per flag.
enum PasswordDialogKind : int {
    kNoPasswordDialog = 0,   // neither flag: refused like an unknown keyword
    kOneEntryDialog = 1,     // the current password
    kTwoEntryDialog = 2,     // a new password and its confirmation
    kThreeEntryDialog = 3,   // the current password, a new one and its confirmation
};

struct PasswordRequest {
    PasswordDialogInfo info;
    int kind = kNoPasswordDialog;
};

// Nothing when argc is below kPasswordArgumentCount, a text is null or a
// number does not convert.
std::optional<PasswordRequest> ParsePasswordRequest(int argc, const char* const* argv);

// Any non-zero flag asks.
int ChoosePasswordKind(std::int32_t needPassword, std::int32_t needNewPassword);

inline constexpr std::string_view kPasswdKey = "XVTUI_passwd=";
inline constexpr std::string_view kOldPasswdKey = "XVTUI_old_passwd=";
inline constexpr std::string_view kSavePasswdKey = "XVTUI_save_passwd=";
inline constexpr std::string_view kDontCacheKey = "XVTUI_dont_cache=";

secure::String EncodeOneEntryAnswer(bool savePassword, bool dontCache, std::string_view password);
secure::String EncodeTwoEntryAnswer(std::string_view newPassword);
secure::String EncodeThreeEntryAnswer(std::string_view currentPassword, std::string_view newPassword);

} // namespace xvtui::protocol

#endif
