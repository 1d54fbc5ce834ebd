#include "l10n/VtuiLogic.h"

#include <cstdio>
#include <nl_types.h>

#include "l10n/ResourceLookup.h"

namespace {

// Texts of the tries-left warning and their catalogue numbers.
constexpr unsigned kNoTriesLeftId = 2096;
constexpr unsigned kTriesLeftId = 2099;
constexpr unsigned kWrongSecretId = 2144;
const char kNoTriesLeft[] = "There are no tries left";
const char kTriesLeft[] = "%d tries left";
const char kWrongSecret[] = "Wrong %s";

constexpr unsigned kNoTriesInformation = 0xFFFF;
constexpr unsigned kWrongWithoutCount = 0x8000;

// A catalogue format with exactly the slot `conversion`, else the built-in one.
std::string CheckedFormat(unsigned id, const char* builtIn, char conversion)
{
    std::string format;
    if (VtuiLogic::vtui_get_resource_string(id, format) == 0 &&
        VtuiLogic::IsSingleConversionFormat(format, conversion)) {
        return format;
    }
    return builtIn;
}
} // namespace

TSupportResourceVersion CSP_VERSION = {l10n_detail::kUndefinedVersion, l10n_detail::kUndefinedVersion,
                                      {nullptr, nullptr}};
TSupportResourceCatalog CSP_catalog = {
    0, &CSP_once_init, {nullptr, nullptr, nullptr, nullptr, nullptr}, reinterpret_cast<void*>(-1)};
TSupportResourceTable CSP_RESOURCE_TABLE = {&CSP_catalog, &CSP_VERSION, {nullptr, nullptr}};
TSupportResource CSP_RESOURCE = {&CSP_RESOURCE_TABLE};

void CSP_once_init()
{
    // The bare name lets the C library search NLSPATH and the locale's
    // directories; the provider's own directory is the fallback.
    CSP_catalog.catalog = catopen("libcsp.cat", NL_CAT_LOCALE);
    if (CSP_catalog.catalog == reinterpret_cast<void*>(-1)) {
        CSP_catalog.catalog =
            l10n_detail::OpenCatalog(l10n_detail::PathTableEntry(TORVIK_PATH_CATALOG), "/libcsp.cat");
    }
}

namespace l10n_detail {

unsigned ReadResourceString(const TSupportResource* handle, unsigned id, std::string& out)
{
    std::size_t length = 0;
    unsigned status = support_resource_string(handle, id, nullptr, &length);
    if (status != 0) {
        return status;
    }
    if (length > kMaxResourceLength) {
        return TORVIK_ERROR_INVALID_DATA;
    }
    std::string buffer(length + 1, '\0');
    status = support_resource_string(handle, id, buffer.data(), &length);
    if (status != 0) {
        return status;
    }
    buffer.resize(buffer.find('\0'));
    out = std::move(buffer);
    return 0;
}

void* OpenCatalog(const char* directory, const char* name)
{
    char path[4096] = {};
    const int written = std::snprintf(path, sizeof path, "%s%s", directory, name);
    if (written < 0 || static_cast<std::size_t>(written) >= sizeof path) {
        return reinterpret_cast<void*>(-1);
    }
    return catopen(path, NL_CAT_LOCALE);
}

const char* PathTableEntry(int index)
{
    const char* const* paths = csp_get_paths();
    if (paths == nullptr || paths[index] == nullptr) {
        return "";
    }
    return paths[index];
}

} // namespace l10n_detail

namespace VtuiLogic {

unsigned vtui_get_resource_string(unsigned id, std::string& out)
{
    return l10n_detail::ReadResourceString(&CSP_RESOURCE, id, out);
}

std::string vtui_get_resource_string_ex(unsigned id, const std::string& fallback)
{
    std::string text;
    if (vtui_get_resource_string(id, text) != 0) {
        return fallback;
    }
    return text;
}

template <>
std::string printf_to_string<int>(const std::string& format, int value)
{
    return FormatOneValue(format, value).value_or(std::string());
}

template <>
std::string printf_to_string<const char*>(const std::string& format, const char* value)
{
    return FormatOneValue(format, value).value_or(std::string());
}

std::string get_tries_warning_string(unsigned int tries, const std::string& secretName)
{
    if (tries == kNoTriesInformation) {
        return std::string();
    }
    if (tries == 0) {
        return vtui_get_resource_string_ex(kNoTriesLeftId, kNoTriesLeft);
    }
    std::string result =
        printf_to_string<const char*>(CheckedFormat(kWrongSecretId, kWrongSecret, 's'), secretName.c_str());
    if (tries == kWrongWithoutCount) {
        return result;
    }
    // The count goes to printf as a signed int, as the catalogue's %d expects.
    return result + ", " +
           printf_to_string<int>(CheckedFormat(kTriesLeftId, kTriesLeft, 'd'), static_cast<int>(tries));
}

} // namespace VtuiLogic
