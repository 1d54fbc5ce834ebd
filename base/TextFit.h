/*
 * TextFit: provider and catalogue texts of any length in windows no larger
 * than the screen.
 *
 * A label whose text would make it wider or taller than its share of the
 * screen is shown shortened with an ellipsis: a line that does not wrap is
 * ellipsized at its end, a text that is still too tall (or longer than
 * kMaxShownChars characters) is cut and ends in "…". Drop-downs ellipsize
 * their items the same way. Only what the toolkit shows changes: the
 * dialogs keep the texts they were given and answer with them unchanged.
 */
#ifndef XVTUI_BASE_TEXTFIT_H
#define XVTUI_BASE_TEXTFIT_H

#include <cstddef>
#include <string>
#include <string_view>

#include <gtk/gtk.h>

namespace textfit {

// Beyond this many characters a text is never shown whole.
inline constexpr std::size_t kMaxShownChars = 4000;
// Nor beyond this many lines.
inline constexpr std::size_t kMaxShownLines = 100;

// `text` (valid UTF-8) cut to at most `maxChars` characters and `maxLines`
// lines, ending in an ellipsis when anything was cut.
std::string Shortened(std::string_view text, std::size_t maxChars = kMaxShownChars,
                      std::size_t maxLines = kMaxShownLines);

// Fits one label (see above).
void FitLabel(GtkLabel* label);
// Fits every label and drop-down in the widget tree under `root`.
void FitTexts(GtkWidget* root);

} // namespace textfit

#endif
