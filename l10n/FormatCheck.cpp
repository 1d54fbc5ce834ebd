#include "l10n/FormatCheck.h"

#include <cstring>

namespace VtuiLogic {

bool IsSingleConversionFormat(const std::string& format, char conversion)
{
    if (conversion != 's' && conversion != 'd') {
        return false;
    }
    // printf sees the text only up to its first zero byte.
    const char* text = format.c_str();
    const std::size_t length = std::strlen(text);
    int conversions = 0;
    for (std::size_t i = 0; i < length; ++i) {
        if (text[i] != '%') {
            continue;
        }
        if (i + 1 >= length) {
            return false; // a lone '%' at the end
        }
        const char next = text[++i];
        if (next == '%') {
            continue;
        }
        if (next != conversion) {
            return false; // flags, width, precision, length, %n, another directive
        }
        ++conversions;
    }
    return conversions == 1;
}

} // namespace VtuiLogic
