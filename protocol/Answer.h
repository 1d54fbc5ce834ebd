/*
 * The pieces every key answer is made of: a key with its "=" followed by its
 * value, written back to back with no separators or terminator. A flag's
 * value is "true" or "false".
 */
#ifndef XVTUI_PROTOCOL_ANSWER_H
#define XVTUI_PROTOCOL_ANSWER_H

#include <string_view>

#include "base/secure/SecureString.h"

namespace xvtui::protocol {

inline constexpr std::string_view kTrue = "true";
inline constexpr std::string_view kFalse = "false";

void AppendFlag(secure::String& answer, std::string_view key, bool value);
void AppendText(secure::String& answer, std::string_view key, std::string_view value);

} // namespace xvtui::protocol

#endif
