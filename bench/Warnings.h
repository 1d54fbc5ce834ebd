// Warnings.h: what the password dialogs compute on every keystroke, timed at
// the longest entry the provider's parent allows in practice.
#pragma once

#include <cstddef>

namespace bench {

// The warnings of the change dialog (the most work: equality, strength on the
// new password, not-ASCII and length on it, the tries-left text, the three
// hint lines) recomputed `repeats` times for passwords of `bytes` bytes,
// each after copying the entry's text as the dialog does; prints the median
// and the maximum per keystroke.
void PrintWarningsCost(std::size_t bytes, int repeats);

} // namespace bench
