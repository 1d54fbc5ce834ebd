// ReaderRequest.h: the reader and applet selection, as the provider asks it.
//
// The helper gets the prompt and the readers as options and answers with the
// reader and applet type chosen; the decoder accepts only a reader and applet
// type that were offered.
#pragma once

#include "client/Request.h"
#include "protocol/ReaderRequest.h"

#include <optional>
#include <string>
#include <vector>

namespace xvtui::client {

using protocol::ReaderItem;

// The answer's fields: "name=" with the reader, "applet=" with the applet type.
inline constexpr std::string_view kReaderField = protocol::kReaderNameKey;
inline constexpr std::string_view kAppletField = protocol::kReaderAppletKey.substr(1);

// "VTSelectReader", the prompt (empty: the helper's own) and the readers.
Request SelectReaderRequest(const std::string& prompt, const std::vector<ReaderItem>& readers);

// Why the helper would not read `prompt` and `readers` back as meant, or ""
// when it would: a prompt beginning with "-" is read as an option, and a
// reader without applet types ends the list for the helper.
std::string ReaderRequestProblem(const std::string& prompt, const std::vector<ReaderItem>& readers);

// Readers from the text of a reader file: blocks separated by blank lines,
// each a reader name on its first line and one "TYPE:DESCRIPTION" per
// further line (the description runs from the first ':'; without one it is
// empty). False and `error` when the text holds no reader.
bool ParseReaderFile(const std::string& text, std::vector<ReaderItem>& readers, std::string& error);

// "TYPE:DESCRIPTION" as one more applet type of `reader`.
void AddApplet(ReaderItem& reader, const std::string& typeAndDescription);

// xvtui-ask's "reader" options from args[i] on: --prompt TEXT, then
// --reader NAME each followed by its --applet TYPE:DESCRIPTION options, or
// --file PATH (a reader file). Nothing, and `error`, on an unknown option, a
// missing value, an applet before any reader, an unreadable file, no reader,
// or a request the helper would read otherwise (ReaderRequestProblem).
std::optional<Request> ParseReaderCommand(const std::vector<std::string>& args, size_t i, std::string& error);

} // namespace xvtui::client
