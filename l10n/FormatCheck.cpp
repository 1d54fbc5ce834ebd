#include "l10n/FormatCheck.h"

#include <cstdio>
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

namespace {

constexpr std::size_t kFormatBufferSize = 512;

template <typename T>
std::optional<std::string> Format(const std::string& format, char conversion, T value)
{
    if (!IsSingleConversionFormat(format, conversion)) {
        return std::nullopt;
    }
    char buffer[kFormatBufferSize] = {};
    std::snprintf(buffer, sizeof buffer, format.c_str(), value);
    return std::string(buffer);
}

} // namespace

std::optional<std::string> FormatOneValue(const std::string& format, const char* value)
{
    return Format(format, 's', value != nullptr ? value : "");
}

std::optional<std::string> FormatOneValue(const std::string& format, int value)
{
    return Format(format, 'd', value);
}

} // namespace VtuiLogic
