// Answer.h: what the helper said, decoded as the provider reads it.
//
// The helper writes exactly one text to its standard output: on success the
// dialog's keys and values (protocol/), otherwise protocol::RetText of the
// result code, and exits with the code's low eight
// bits. This file turns the raw output and exit status into an `Answer`. It
// knows nothing about processes or GTK, so all of it can be tested from
// strings alone.
#pragma once

#include "base/secure/SecureString.h"
#include "protocol/ResultCode.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xvtui::client {

using protocol::ResultCode;
using protocol::kUsageText;


// What one run of the helper produced, before decoding.
struct RunResult {
    secure::String output;        // everything read from its standard output
    bool outputTruncated = false; // it wrote more than the limit; the rest was refused
    bool exited = false;          // it exited normally (else it was killed by a signal)
    int exitStatus = -1;          // status when `exited`
    int termSignal = 0;           // signal when killed
    bool timedOut = false;        // the caller's deadline passed and it was killed
};

// One key of a successful answer, in output order.
struct Field {
    std::string key;      // with its "=", e.g. protocol::kPasswdKey
    secure::String value; // the text after the key
    bool secret = false;  // the value is a password or PIN
};

enum class Outcome {
    Answered,  // the dialog answered; `fields` holds its keys
    Refused,   // "ret=" and a code: cancelled, failed, bad arguments, ...
    Usage,     // run without a keyword: the usage text, status 1
    Malformed, // output or status do not follow the protocol
    Killed,    // ended by a signal (not by us)
    TimedOut,  // the caller's deadline passed; we killed it
};

struct Answer {
    Outcome outcome = Outcome::Malformed;
    std::uint32_t code = ResultCode::Failed; // ResultCode::Answered when answered; the "ret=" code when refused
    bool exited = false;
    int exitStatus = -1;
    int termSignal = 0;
    std::vector<Field> fields;
    std::string problem; // why the outcome is Malformed, or a status mismatch

    // The field with this key (with its "="), or null.
    const Field* Find(std::string_view key) const;
    // A "true"/"false" field as a bool; nullopt when it is missing.
    std::optional<bool> Flag(std::string_view key) const;
};

// Splits the output of a successful run into fields; returns false (and says
// why in `problem`) when the output is not a valid answer of the request.
using Decoder = std::function<bool(std::string_view output, std::vector<Field>& fields,
                                   std::string& problem)>;

// How one key of a key answer is read.
enum class ValueKind {
    Flag,   // exactly "true" or "false"
    Text,   // any bytes, up to the next key (or the end for the last key)
    Secret, // as Text, but a password: kept secret when shown
};

struct AnswerKey {
    std::string key; // with its "="
    ValueKind kind = ValueKind::Text;
};

// Decoder for answers made of keys written back to back in a fixed order with
// no separators. A flag value is "true" or "false"; any other value runs to
// the next key, searched from where the value starts; the last value runs to
// the end of the output (so a password may contain anything, even a key).
Decoder KeyDecoder(std::vector<AnswerKey> keys);

// Decodes a run: "ret=" and a code, the usage text, or the request's answer.
Answer Decode(const RunResult& run, const Decoder& decoder);

// Parses exactly "ret=" followed by 1 to 10 decimal digits of a 32-bit code.
std::optional<std::uint32_t> ParseRetText(std::string_view output);

} // namespace xvtui::client
