/*
 * 32-bit words as the helper and its parent exchange them on standard input
 * and output: four bytes in host byte order, no header or terminator.
 */
#ifndef XVTUI_PROTOCOL_WORD_H
#define XVTUI_PROTOCOL_WORD_H

#include <cstdint>

#include "base/secure/SecureString.h"

namespace xvtui::protocol {

// Appends `word` to a payload for the helper's standard input (which may hold
// secrets, hence the wiped storage).
void AppendWord(secure::String& payload, std::uint32_t word);

} // namespace xvtui::protocol

#endif
