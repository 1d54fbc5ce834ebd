// The catalogue-format check: any text, as a catalogue could hold it. A text
// the check passes goes to snprintf with one value, so a wrong pass shows up
// as a read of a missing argument or a write through %n under the
// sanitizers; the result always fits the fixed buffer.
#include "FuzzInput.h"

#include "l10n/FormatCheck.h"

#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string format(reinterpret_cast<const char*>(data), size);
    const bool asText = VtuiLogic::IsSingleConversionFormat(format, 's');
    const bool asNumber = VtuiLogic::IsSingleConversionFormat(format, 'd');
    fuzz::Check(!(asText && asNumber));
    for (const char other : {'n', 'x', 'p', '%', '\0'})
        fuzz::Check(!VtuiLogic::IsSingleConversionFormat(format, other));

    const std::optional<std::string> text = VtuiLogic::FormatOneValue(format, "value");
    const std::optional<std::string> number = VtuiLogic::FormatOneValue(format, -2147483647 - 1);
    fuzz::Check(text.has_value() == asText && number.has_value() == asNumber);
    if (text)
        fuzz::Check(text->size() <= 511 && std::strlen(text->c_str()) == text->size());
    if (number)
        fuzz::Check(number->size() <= 511);
    return 0;
}
