/*
 * The check that makes a catalogue text safe to use as a printf format.
 *
 * Catalogue files come from outside the program, and some of their texts are
 * printf formats with one slot ("Wrong %s", "%d tries left"). Such a text is
 * used only if it has exactly the one conversion its caller supplies, so that
 * printf can never read a missing argument or write through %n.
 */
#ifndef XVTUI_L10N_FORMATCHECK_H
#define XVTUI_L10N_FORMATCHECK_H

#include <string>

namespace VtuiLogic {

// True when `format`, read as printf reads it (up to the first zero byte),
// contains exactly one conversion, written plainly as '%' followed by
// `conversion`, and otherwise only literal text and "%%". Flags, widths,
// precisions, length modifiers, positional arguments, %n, any other
// directive and a trailing lone '%' make it false. `conversion` must be 's'
// or 'd'; any other value gives false.
bool IsSingleConversionFormat(const std::string& format, char conversion);

} // namespace VtuiLogic

#endif
