#include "protocol/Number.h"

#include <cstdlib>

namespace xvtui::protocol {

std::optional<std::int32_t> ParseWholeNumber(const char* text)
{
    if (text == nullptr)
        return std::nullopt;
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10);
    if (*end != '\0')
        return std::nullopt;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(number)); // low 32 bits
}

} // namespace xvtui::protocol
