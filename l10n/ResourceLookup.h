/*
 * The catalogue lookup shared by both resource descriptors (internal to l10n).
 */
#ifndef XVTUI_L10N_RESOURCELOOKUP_H
#define XVTUI_L10N_RESOURCELOOKUP_H

#include <cstddef>
#include <string>

#include "support/torvik.h"

namespace l10n_detail {

// No catalogue text is anywhere near this long; a larger length reported by
// the library is treated as a failed lookup rather than allocated.
constexpr std::size_t kMaxResourceLength = 1u << 20;

// The version text of both descriptors (neither has a version of its own);
// one object, so that a descriptor's two version fields hold the same pointer.
inline constexpr wchar_t kUndefinedVersion[] = L"UNDEFINED";

// Text `id` through `handle` into `out`: 0 on success, otherwise the support
// library's non-zero code (or TORVIK_ERROR_INVALID_DATA for an absurd length),
// and `out` is left untouched.
unsigned ReadResourceString(const TSupportResource* handle, unsigned id, std::string& out);

// Opens "<directory>/libcsp.cat"-style paths: `directory` followed by `name`,
// formatted into a 4096-byte buffer. Returns (void*)-1 if the path does not
// fit or cannot be opened.
void* OpenCatalog(const char* directory, const char* name);

// Entry `index` of the support library's path table, "" if it has none.
const char* PathTableEntry(int index);

} // namespace l10n_detail

#endif
