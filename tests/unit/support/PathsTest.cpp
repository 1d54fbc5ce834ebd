// The installation path table, computed once per process: each case runs in
// a child process with its own environment.
#include "support/torvik.h"
#include "common/UnitKit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

std::string Normal(const std::string& path) { return std::filesystem::weakly_canonical(path).string(); }

TEST(Paths, CatalogueEntriesFromEnvironmentOrNextToTheLibrary)
{
    // Without overrides the build tree's library finds the build tree's catalogues.
    const std::string defaults = Normal(XVTUI_CATALOG_DIR) + "|" + Normal(XVTUI_RU_CATALOG_DIR);
    const struct {
        std::map<std::string, std::string> env;
        std::string expected;
    } cases[] = {
        {{}, defaults},
        {{{"TORVIK_CATALOG_DIR", ""}, {"TORVIK_LOCALE_CATALOG_DIR", ""}}, defaults}, // empty is unset
        {{{"TORVIK_CATALOG_DIR", "/opt/a/nls"}, {"TORVIK_LOCALE_CATALOG_DIR", "/opt/b/nls/ru"}}, "/opt/a/nls|/opt/b/nls/ru"},
        {{{"TORVIK_CATALOG_DIR", "/opt/a/nls"}}, "/opt/a/nls|" + Normal(XVTUI_RU_CATALOG_DIR)},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(testkit::RunInChild(c.env, [] {
            const char* const* paths = csp_get_paths();
            for (int i = 0; i < TORVIK_PATH_COUNT; ++i) {
                if (paths[i] == nullptr || (i != TORVIK_PATH_CATALOG && i != TORVIK_PATH_LOCALE_CATALOG && *paths[i]))
                    return "entry " + std::to_string(i) + " is not an empty string";
            }
            setenv("TORVIK_CATALOG_DIR", "/later", 1); // read once: a later change is not seen
            paths = csp_get_paths();
            return Normal(paths[TORVIK_PATH_CATALOG]) + "|" + Normal(paths[TORVIK_PATH_LOCALE_CATALOG]);
        }), c.expected);
    }
}

} // namespace
