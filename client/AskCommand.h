// AskCommand.h: the command line and the printout of the xvtui-ask tool.
//
//   xvtui-ask [--helper PATH] [--timeout SECONDS] [--reveal] REQUEST
//     message [--flags N] [--ex] TEXT   a message (VTDisplayMessage[Ex])
//     raw [KEYWORD [ARGUMENT...]]       any command line, answer shown as is
//     pin [PASSWORD OPTIONS] [--save-box N] [--dont-cache-box N]
//                                       the current password or PIN, with the
//                                       control words of its two check boxes
//     new-password [PASSWORD OPTIONS]   a new password, twice (VTQueryPinEx)
//     change-password [PASSWORD OPTIONS] the current password and a new one, twice
//     random [--units N]                random data from mouse and keys
//                                       (VTRndmBio), N units (default 200)
//     container [--code-page N] [--count N] [--file FILE] [--item F U P]...
//                                       one key container out of a list
//     doctor                            check the machine's set-up (Doctor.h)
//   PASSWORD OPTIONS: --title, --header, --reader, --carrier, --container,
//     --reader-caption, --carrier-caption, --container-caption, --term,
//     --new-term, --carrier-active, --tries, --max, --min, --max-new, --min-new,
//     each with one value (PasswordRequest.h)
//
// The helper is `--helper`, else $XVTUI_HELPER, else the xvtui next to the
// tool (a build tree), else the installed one in <libexecdir>. Kept apart from main() so that parsing and printing are tested directly.
#pragma once

#include "client/Answer.h"
#include "client/Request.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xvtui::client {

struct AskCommand {
    std::string helper; // empty: not given on the command line
    std::optional<std::chrono::milliseconds> timeout;
    bool reveal = false; // print secret values instead of their length
    bool help = false;
    Request request;
    // random: the units to gather; the tool then plays the parent's part
    // of the conversation (client/RandomParent.h).
    std::optional<std::uint64_t> randomUnits;
    // doctor: check the machine instead of asking (client/Doctor.h).
    bool doctor = false;
};

// The tool's exit codes.
enum AskExit : int {
    kAskAnswered = 0, // the dialog answered
    kAskRefused = 1,  // "ret=" (cancelled, bad arguments, ...) or the usage text
    kAskUsage = 2,    // the tool's own command line is wrong
    kAskError = 3,    // the helper could not run, or broke the protocol
};

// Parses argv[1..]; on error returns nullopt and sets `error`.
std::optional<AskCommand> ParseAskCommand(const std::vector<std::string>& args, std::string& error);

std::string AskUsageText();

// The helper to run: `given` if not empty, else `environment` (XVTUI_HELPER)
// if set and not empty, else the xvtui next to `selfExecutable` when there is
// one, else <libexecdir>/xvtui relative to `selfExecutable`'s directory.
std::string ChooseHelper(const std::string& given, const char* environment,
                         const std::string& selfExecutable);

// The decoded answer as printed: one line per key (secret values hidden unless
// `reveal`), or "ret=CODE (name)", then the exit status. `rawOutput` is shown,
// escaped, only for a malformed answer of a request without secrets (or with
// `reveal`). The text may hold a revealed secret, so it lives in wiped storage.
secure::String FormatAnswer(const Answer& answer, std::string_view rawOutput, bool secretAnswer,
                            bool reveal);

AskExit ExitCodeFor(const Answer& answer);

// Bytes as a C-like quoted string: printable ASCII as is, the rest escaped.
std::string Escape(std::string_view bytes);

} // namespace xvtui::client
