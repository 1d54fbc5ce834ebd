// Request.h: one question for the helper, as the provider asks it.
//
// A request is the helper's command line (keyword first), the bytes it gets on
// standard input (written at start, then the pipe is closed), and the decoder
// of its answer. Adding a dialog to the client means adding one function that
// fills these three in.
#pragma once

#include "base/secure/SecureString.h"
#include "client/Answer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace xvtui::client {

struct Request {
    std::vector<std::string> arguments; // argv[1] (the keyword) onwards
    secure::String input;               // standard-input payload; may hold secrets
    Decoder decoder;                    // reads a successful answer
    bool secretAnswer = false;          // the answer may hold a password: never show it raw
};

// The answer key of the message dialog.
inline constexpr std::string_view kDontShowWarningKey = "XVTUI_dont_show_warning=";

// Message flags: 0x02 adds Cancel to OK, 0x80 adds the "don't show again" box.
enum MessageFlags : int {
    kMessageOkCancel = 0x02,
    kMessageOldKeysWarning = 0x80,
};

// "VTDisplayMessage" (or "VTDisplayMessageEx" when `extended`) with the flags
// and the text. The flags are passed as text so that malformed ones can be sent
// on purpose.
Request MessageRequest(const std::string& flags, const std::string& text, bool extended = false);
Request MessageRequest(int flags, const std::string& text, bool extended = false);

// Any command line; a successful answer is taken whole as one text field
// (key ""). For trying keywords and arguments the client does not model.
Request RawRequest(std::vector<std::string> arguments);

// Appends a 32-bit word in host byte order, as the helper reads its control
// words from standard input.
void AppendWord(secure::String& input, std::uint32_t word);

} // namespace xvtui::client
