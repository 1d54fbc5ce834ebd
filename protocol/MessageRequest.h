/*
 * The message request ("VTDisplayMessage", "VTDisplayMessageEx") and its
 * answer.
 *
 * Command line: program, keyword, flags (a whole number, see Number.h), the
 * text; exactly four arguments. Two flag bits count, every other is ignored.
 * The answer is the key and "true" or "false": whether the "don't show
 * again" box was ticked (false when the box was not shown).
 */
#ifndef XVTUI_PROTOCOL_MESSAGEREQUEST_H
#define XVTUI_PROTOCOL_MESSAGEREQUEST_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/secure/SecureString.h"

namespace xvtui::protocol {

inline constexpr std::string_view kMessageKeyword = "VTDisplayMessage";
inline constexpr std::string_view kMessageExKeyword = "VTDisplayMessageEx";
inline constexpr int kMessageArgumentCount = 4;

// The flag bits of a message request.
enum MessageFlags : std::uint32_t {
    kMessageOkCancel = 0x02,       // Cancel besides OK
    kMessageOldKeysWarning = 0x80, // the "don't show again" box of the old-keys warning
};

struct MessageRequest {
    std::int32_t flags = 0;
    std::string text; // shown as it is, never read as a format

    bool OkCancel() const { return (flags & kMessageOkCancel) != 0; }
    bool OldKeysWarning() const { return (flags & kMessageOldKeysWarning) != 0; }
};

// Nothing when argc is not four or the flags are not a whole number. A null
// text reads as "".
std::optional<MessageRequest> ParseMessageRequest(int argc, const char* const* argv);

inline constexpr std::string_view kDontShowWarningKey = "XVTUI_dont_show_warning=";

// The answer after OK.
secure::String EncodeMessageAnswer(bool dontShowWarning);

} // namespace xvtui::protocol

#endif
