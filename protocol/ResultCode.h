/*
 * ResultCode: the result codes of the helper, shared by the helper, the
 * parent's side and the tests.
 *
 * On success the helper writes its dialog's answer; on anything else it writes
 * "ret=" and the code in decimal, and exits with the code's low eight bits.
 * The codes are written here and nowhere else.
 */
#ifndef XVTUI_PROTOCOL_RESULTCODE_H
#define XVTUI_PROTOCOL_RESULTCODE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace xvtui::protocol {

enum ResultCode : std::uint32_t {
    // The dialog answered (not named Success: X11 defines that as a macro).
    Answered = 0,
    // 2148532334: the user cancelled, closed the window or let the time-out expire.
    Cancelled = 0x8010006E,
    // 2148073504: a dialog ended without an answer; also the parent lost.
    Failed = 0x80090020,
    // 2147942487: unknown keyword, wrong arguments, or a callback without its dialog.
    BadArgs = 0x80070057,
    // 2147746309: a std::exception other than the helper's own reached the entry.
    ForeignException = 0x80040205,
    // The parent process or the output pipe is gone.
    BrokenPipe = 109,
    // GTK could not be initialised (no display).
    GtkInitFailed = 1114,
};

// "success", "cancelled", "failed", "bad arguments", "foreign exception",
// "broken pipe", "no display", or "unknown" for any other code.
std::string_view ResultCodeName(std::uint32_t code);

// The prefix of the text that reports a result other than success.
inline constexpr std::string_view kRetPrefix = "ret=";

// kRetPrefix and the code in decimal, the whole answer of a run that failed.
std::string RetText(std::uint32_t code);

// The text a run without a dialog keyword prints (exit status 1).
inline constexpr std::string_view kUsageText = "You should not try run this manualy\n";

} // namespace xvtui::protocol

// The helper's code says ResultCode::Cancelled; the enumerators stay in the
// protocol's namespace.
using xvtui::protocol::ResultCode;

#endif
