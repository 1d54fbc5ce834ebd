#include "protocol/Word.h"

#include <cstring>

namespace xvtui::protocol {

void AppendWord(secure::String& payload, std::uint32_t word)
{
    char bytes[sizeof word];
    std::memcpy(bytes, &word, sizeof word);
    payload.append(bytes, sizeof bytes);
}

} // namespace xvtui::protocol
