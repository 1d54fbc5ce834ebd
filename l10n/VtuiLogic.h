/*
 * VtuiLogic: catalogue lookups of the second resource descriptor, one-slot
 * formatting and the tries-left warning of the password dialogs.
 *
 * The second descriptor (CSP_RESOURCE ...) opens libcsp.cat by its bare name,
 * so that the system's catalogue search path (NLSPATH, then the locale
 * directories) applies, and falls back to entry 10 of the path table.
 */
#ifndef XVTUI_L10N_VTUILOGIC_H
#define XVTUI_L10N_VTUILOGIC_H

#include <string>

#include "l10n/FormatCheck.h"
#include "support/torvik.h"

// The second resource descriptor; static, valid from start-up to exit.
extern TSupportResource CSP_RESOURCE;
extern TSupportResourceTable CSP_RESOURCE_TABLE;
extern TSupportResourceCatalog CSP_catalog;
extern TSupportResourceVersion CSP_VERSION;

// Opens the catalogue for the second descriptor: catopen("libcsp.cat") by
// bare name, then "<entry 10>/libcsp.cat". Run once by the support library.
void CSP_once_init();

namespace VtuiLogic {

// Catalogue text `id` through CSP_RESOURCE into `out`. Returns 0, or the
// support library's non-zero error code and leaves `out` untouched.
unsigned vtui_get_resource_string(unsigned id, std::string& out);

// The same lookup; `fallback` on any failure.
std::string vtui_get_resource_string_ex(unsigned id, const std::string& fallback);

// FormatOneValue (l10n/FormatCheck.h); a refused format gives "". A null
// string is formatted as "".
template <typename T>
std::string printf_to_string(const std::string& format, T value);
template <>
std::string printf_to_string<int>(const std::string& format, int value);
template <>
std::string printf_to_string<const char*>(const std::string& format, const char* value);

// The tries-left warning: "" for 0xFFFF (no tries information), text 2096 for
// 0, otherwise text 2144 with the secret's name (cut to 511 bytes), followed
// for any count but 0x8000 by ", " and text 2099 with the count. Texts come
// from the catalogue; a missing one, or one whose format does not have
// exactly the expected slot, is replaced by the built-in English text.
std::string get_tries_warning_string(unsigned int tries, const std::string& secretName);

} // namespace VtuiLogic

#endif
