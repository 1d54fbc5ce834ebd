// PasswordRequest.h: the "VTQueryPinEx" requests for a password or PIN, for a
// new password and for a password change, and the arguments every password
// request shares.
//
// One keyword serves three dialogs; its two last arguments choose one: ask
// the current password (argv[18]) and ask a new one (argv[19]). Only the
// first gives the one-entry dialog, both the change dialog (current, new,
// confirmation), only the second the new-password dialog (new,
// confirmation). The one-entry dialog alone reads standard input: two
// control words for its two check boxes. The answers are those of
// protocol/PasswordRequest.h; the password is always last and runs to the end
// of the output, so whatever it contains is read whole. The change answer
// (kOldPasswdKey OLD kPasswdKey NEW) is therefore ambiguous whenever OLD or
// NEW themselves contain kPasswdKey: from the bytes alone there is no telling
// which occurrence of the key starts NEW.
// The decoder here picks, among the occurrences after OLD's key, the last
// one that leaves both parts within the request's length limits (the helper
// enforces them, so a split outside them cannot be the real one); with no
// limits that is the last occurrence. That is right whenever NEW does not
// contain the key, whatever OLD contains, and also whenever only one split
// fits the limits. A NEW that contains the key and fits the limits either
// way is read wrongly: a parent that must support such passwords has to
// forbid the key in them or ask for the new password separately.
#pragma once

#include "client/Answer.h"
#include "client/Request.h"
#include "protocol/CheckBoxWord.h"
#include "protocol/PasswordRequest.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xvtui::client {

// The answer keys of the password dialogs.
using protocol::kDontCacheKey;
using protocol::kOldPasswdKey;
using protocol::kPasswdKey;
using protocol::kSavePasswdKey;

// argv[2] to argv[17] of a "VTQueryPinEx" request. The numbers travel as
// text, as on the command line, so that malformed ones can be sent on purpose.
struct PasswordRequestArgs {
    std::string title;                          // window title; empty: the helper's default
    std::string header;                         // text above the information table
    std::string readerName;                     // value of the reader row
    std::string carrierName;                    // value of the carrier row
    std::string containerName;                  // empty: no container row
    std::string readerCaption = "Reader:";
    std::string carrierCaption = "Carrier:";
    std::string containerCaption = "Container:";
    std::string passwordTerm = "password";      // word for the secret ("password", "PIN")
    std::string newPasswordTerm;                // word for the new secret; empty: passwordTerm
    std::string carrierActive = "1";            // 0 greys the carrier row
    std::string triesLeft = "65535";            // 65535: no tries information
    std::string maxPasswordLength = "0";        // characters of the current password; 0: no limit
    std::string minPasswordLength = "0";        // bytes of the current password
    std::string maxNewPasswordLength = "0";     // characters of the new password; 0: no limit
    std::string minNewPasswordLength = "0";     // bytes of the new password
};

// The helper's command line from the keyword on: "VTQueryPinEx", the sixteen
// arguments, and the two flags as "0" or "1".
std::vector<std::string> PasswordArguments(const PasswordRequestArgs& args, bool needPassword,
                                           bool needNewPassword);

// The current password or PIN (the one-entry dialog). `saveBox` drives the
// "Save password in system" box and `dontCacheBox` the "Require password for
// every operation" box (protocol/CheckBoxWord.h); both go to standard input as 32-bit
// words in host byte order. The answer has two flags, kSavePasswdKey and
// kDontCacheKey, and one secret field, kPasswdKey.
Request PinRequest(const PasswordRequestArgs& args, std::uint32_t saveBox, std::uint32_t dontCacheBox);
// A new password and its confirmation; the answer has one secret field,
// kPasswdKey.
Request NewPasswordRequest(const PasswordRequestArgs& args);
// The current password, a new one and its confirmation; the answer has two
// secret fields, kOldPasswdKey then kPasswdKey, split as described above.
Request ChangePasswordRequest(const PasswordRequestArgs& args);

// The length limits the helper enforces before it answers. A minimum counts
// bytes, a maximum characters (UTF-8); 0 or less means none.
struct PasswordLimits {
    std::int32_t minOld = 0;
    std::int32_t maxOld = 0;
    std::int32_t minNew = 0;
    std::int32_t maxNew = 0;
};

// The limits of a request, its numbers read as the helper reads them
// (protocol/Number.h); a number the helper would refuse counts as none.
PasswordLimits LimitsOf(const PasswordRequestArgs& args);

// Where NEW starts in `rest`, the change answer after kOldPasswdKey (OLD, the
// key, NEW): the position just after the chosen kPasswdKey, or nullopt when
// `rest` does not contain the key at all.
std::optional<std::size_t> SplitChangeAnswer(std::string_view rest, const PasswordLimits& limits);

// The change answer's decoder with these limits.
Decoder ChangePasswordDecoder(const PasswordLimits& limits);

} // namespace xvtui::client
