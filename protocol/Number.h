/*
 * The one rule for a number on the helper's command line: the whole text in
 * base 10 (strtol), a leading blank or sign accepted, nothing after the
 * number; the low 32 bits are kept, and an empty text is 0. The request
 * parsers use it, and the parent's side reads a request's numbers with it as
 * the helper will.
 */
#ifndef XVTUI_PROTOCOL_NUMBER_H
#define XVTUI_PROTOCOL_NUMBER_H

#include <cstdint>
#include <optional>

namespace xvtui::protocol {

// The number, or nothing when `text` is null or characters follow the number.
std::optional<std::int32_t> ParseWholeNumber(const char* text);

} // namespace xvtui::protocol

#endif
