// The installation path table. It is computed once per process, so every case
// runs in a child process with its own environment.

#include "support/torvik.h"
#include "SupportTestUtil.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using supporttest::RunInChild;

std::string Normal(const std::string& path)
{
    return std::filesystem::weakly_canonical(path).string();
}

struct EnvCase {
    const char* what;
    const char* catalogEnv;      // null: unset
    const char* localeCatalogEnv;
    std::string catalog;         // expected entry 10, compared after normalising
    std::string localeCatalog;   // expected entry 13
};

TEST(Paths, CatalogueEntriesFromEnvironmentOrNextToTheLibrary)
{
    // The build tree's library finds the build tree's catalogues by default.
    const std::vector<EnvCase> cases = {
        {"defaults", nullptr, nullptr, XVTUI_CATALOG_DIR, XVTUI_RU_CATALOG_DIR},
        {"empty values count as unset", "", "", XVTUI_CATALOG_DIR, XVTUI_RU_CATALOG_DIR},
        {"both set", "/opt/a/nls", "/opt/b/nls/ru", "/opt/a/nls", "/opt/b/nls/ru"},
        {"only the main one set", "/opt/a/nls", nullptr, "/opt/a/nls", XVTUI_RU_CATALOG_DIR},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const int rc = RunInChild([&c] {
            const auto apply = [](const char* name, const char* value) {
                if (value != nullptr)
                    setenv(name, value, 1);
                else
                    unsetenv(name);
            };
            apply("TORVIK_CATALOG_DIR", c.catalogEnv);
            apply("TORVIK_LOCALE_CATALOG_DIR", c.localeCatalogEnv);
            const char* const* paths = csp_get_paths();
            if (paths == nullptr)
                return 1;
            for (int i = 0; i < TORVIK_PATH_COUNT; ++i) {
                if (paths[i] == nullptr)
                    return 2;
                if (i != TORVIK_PATH_CATALOG && i != TORVIK_PATH_LOCALE_CATALOG && *paths[i] != '\0')
                    return 3;
            }
            if (Normal(paths[TORVIK_PATH_CATALOG]) != Normal(c.catalog))
                return 4;
            if (Normal(paths[TORVIK_PATH_LOCALE_CATALOG]) != Normal(c.localeCatalog))
                return 5;
            return 0;
        });
        EXPECT_EQ(rc, 0);
    }
}

TEST(Paths, ComputedOncePerProcess)
{
    const int rc = RunInChild([] {
        setenv("TORVIK_CATALOG_DIR", "/first", 1);
        const char* const* first = csp_get_paths();
        const std::string before = first[TORVIK_PATH_CATALOG];
        setenv("TORVIK_CATALOG_DIR", "/second", 1);
        const char* const* second = csp_get_paths();
        if (second != first || before != "/first")
            return 1;
        return std::strcmp(second[TORVIK_PATH_CATALOG], "/first") == 0 ? 0 : 2;
    });
    EXPECT_EQ(rc, 0);
}

} // namespace
