// Installation paths. The catalogue directories are found relative to this
// library's own file, so that the build tree (<build>/lib next to
// <build>/share/torvik) and an installed tree both work without configuration;
// TORVIK_CATALOG_DIR and TORVIK_LOCALE_CATALOG_DIR override them.

#include "torvik.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <string>

namespace {

// The directory holding this library, with symbolic links resolved; empty when
// it cannot be found.
std::string libraryDirectory()
{
    Dl_info info {};
    if (dladdr(reinterpret_cast<void*>(&csp_get_paths), &info) == 0 || info.dli_fname == nullptr)
        return std::string();
    std::string file = info.dli_fname;
    if (char* resolved = realpath(info.dli_fname, nullptr)) {
        file = resolved;
        std::free(resolved);
    }
    const size_t slash = file.rfind('/');
    if (slash == std::string::npos)
        return std::string();
    return file.substr(0, slash == 0 ? 1 : slash);
}

std::string fromEnvironment(const char* name, const std::string& fallback)
{
    const char* value = std::getenv(name);
    return (value != nullptr && *value != '\0') ? std::string(value) : fallback;
}

struct PathTable {
    std::array<std::string, TORVIK_PATH_COUNT> storage;
    std::array<const char*, TORVIK_PATH_COUNT> entries {};

    PathTable()
    {
        const std::string library = libraryDirectory();
        const std::string catalogs =
            library.empty() ? std::string() : library + "/" TORVIK_REL_LIB_TO_DATA "/nls";
        storage[TORVIK_PATH_CATALOG] = fromEnvironment("TORVIK_CATALOG_DIR", catalogs);
        storage[TORVIK_PATH_LOCALE_CATALOG] = fromEnvironment(
            "TORVIK_LOCALE_CATALOG_DIR", catalogs.empty() ? std::string() : catalogs + "/ru");
        for (size_t i = 0; i < entries.size(); ++i)
            entries[i] = storage[i].c_str();
    }
};

} // namespace

extern "C" const char* const* csp_get_paths(void)
{
    // Built once per process (thread-safe static initialisation) and kept until exit.
    try {
        static const PathTable table;
        return table.entries.data();
    } catch (...) {
        // Out of memory while building the table: every entry reads as unknown.
        static const char* const unknown[TORVIK_PATH_COUNT] = {
            "", "", "", "", "", "", "", "", "", "", "", "", "", "", "", ""};
        return unknown;
    }
}
