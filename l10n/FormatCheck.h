/*
 * The check that makes a catalogue text safe to use as a printf format, and
 * the one routine that formats one value with such a text.
 *
 * Catalogue files come from outside the program, and some of their texts are
 * printf formats with one slot ("Wrong %s", "%d tries left"). Such a text is
 * used only if it has exactly the one conversion its caller supplies, so that
 * printf can never read a missing argument or write through %n.
 */
#ifndef XVTUI_L10N_FORMATCHECK_H
#define XVTUI_L10N_FORMATCHECK_H

#include <optional>
#include <string>

namespace VtuiLogic {

// True when `format`, read as printf reads it (up to the first zero byte),
// contains exactly one conversion, written plainly as '%' followed by
// `conversion`, and otherwise only literal text and "%%". Flags, widths,
// precisions, length modifiers, positional arguments, %n, any other
// directive and a trailing lone '%' make it false. `conversion` must be 's'
// or 'd'; any other value gives false.
bool IsSingleConversionFormat(const std::string& format, char conversion);

// `format` applied to one value through a zero-filled 512-byte buffer: at
// most 511 bytes are kept. Nothing when the format does not pass the check
// above with 's' (for a text) or 'd' (for an int); such a format never
// reaches printf. Callers choose what stands in for a refused format.
std::optional<std::string> FormatOneValue(const std::string& format, const char* value);
std::optional<std::string> FormatOneValue(const std::string& format, int value);

} // namespace VtuiLogic

#endif
