// Request.h: one question for the helper, as the provider asks it.
//
// A request is the helper's command line (keyword first), the bytes it gets on
// standard input (written at start, then the pipe is closed), and the decoder
// of its answer. Adding a dialog to the client means adding one function that
// fills these three in.
#pragma once

#include "base/secure/SecureString.h"
#include "client/Answer.h"
#include "protocol/MessageRequest.h"
#include "protocol/Word.h"

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

// The message dialog's answer key and flags.
using protocol::kDontShowWarningKey;
using protocol::kMessageOkCancel;
using protocol::kMessageOldKeysWarning;

// "VTDisplayMessage" (or "VTDisplayMessageEx" when `extended`) with the flags
// and the text. The flags are passed as text so that malformed ones can be sent
// on purpose.
Request MessageRequest(const std::string& flags, const std::string& text, bool extended = false);
Request MessageRequest(int flags, const std::string& text, bool extended = false);

// Any command line; a successful answer is taken whole as one text field
// (key ""). For trying keywords and arguments the client does not model.
Request RawRequest(std::vector<std::string> arguments);

// Appends a 32-bit word as the helper reads its control words from standard input.
using protocol::AppendWord;

} // namespace xvtui::client
