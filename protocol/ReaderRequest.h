/*
 * ReaderRequest: the reader and applet selection request ("VTSelectReader")
 * and its answer.
 *
 * Command line: program, keyword, prompt (may be empty: the dialog's own
 * prompt), then options read with getopt_long_only, so one or two dashes,
 * a value after "=" or as the next argument, and unambiguous prefixes all
 * work: -name R1 -applet A -desc D1 -applet B -desc D2 -name R2 ...
 * A reader name comes first, then pairs of applet and description. The
 * first option out of that order, an unknown option or one without its
 * value ends the parse silently: the readers read so far are the request.
 *
 * Answer on success: "name=" READER ";applet=" APPLET, no line end, the
 * bytes as received, nothing escaped.
 */
#ifndef XVTUI_PROTOCOL_READERREQUEST_H
#define XVTUI_PROTOCOL_READERREQUEST_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xvtui::protocol {

inline constexpr std::string_view kReaderKeyword = "VTSelectReader";
// The answer's two keys; the second one's ';' separates it from the reader.
inline constexpr std::string_view kReaderNameKey = "name=";
inline constexpr std::string_view kReaderAppletKey = ";applet=";

// One reader. Arguments that end early leave a reader without applets or
// the last applet without its description: `descriptions` may be shorter
// than `applets`, never longer.
struct ReaderItem {
    std::vector<std::string> applets;      // applet types, in argument order
    std::vector<std::string> descriptions; // descriptions[i] describes applets[i]
    std::string name;

    bool operator==(const ReaderItem&) const = default;
};

struct ReaderRequest {
    std::string prompt; // argv[2]; empty: the dialog shows its built-in prompt
    std::vector<ReaderItem> readers;
};

// Reads argv[2] and the options after it. Nothing when argc is below 3 (no
// prompt at all). getopt's state is reset on entry, so it may run any number
// of times in a process; it permutes `argv` as getopt does, and prints
// getopt's usual diagnostic for an unknown option or a missing value to
// standard error.
std::optional<ReaderRequest> ParseReaderRequest(int argc, char** argv);

// The options that ParseReaderRequest reads back as `readers`, in the
// "--name=VALUE" spelling, so values that begin with a dash stay values. A
// reader without applets gets no applet option, so the helper reads no
// reader after it: only the last reader may come without. Each applet gets
// its description option, empty when `descriptions` has none.
std::vector<std::string> ReaderOptions(const std::vector<ReaderItem>& readers);

// The answer: "name=" + reader + ";applet=" + applet.
std::string EncodeReaderAnswer(std::string_view reader, std::string_view applet);

struct ReaderChoice {
    std::string reader;
    std::string applet;

    bool operator==(const ReaderChoice&) const = default;
};

// Reads an answer to a request that offered `readers`. Names may contain
// ";applet=" themselves, so the answer is split where the reader is one
// offered and the applet one of its applets (empty for a reader without
// any); nothing when no split fits.
std::optional<ReaderChoice> DecodeReaderAnswer(std::string_view answer, const std::vector<ReaderItem>& readers);

} // namespace xvtui::protocol

#endif
