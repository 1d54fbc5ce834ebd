// The library's dynamic symbol table holds exactly the interface of torvik.h.
#include "support/torvik.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <dlfcn.h>
#include <set>
#include <string>

TEST(Exports, ExactlyTheInterfaceIsExported)
{
    Dl_info info {};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&csp_get_paths), &info), 0);
    ASSERT_NE(std::string(info.dli_fname).find("libtorvik.so.4"), std::string::npos) << info.dli_fname;
    FILE* nm = popen(("nm -D --defined-only '" + std::string(info.dli_fname) + "'").c_str(), "r");
    ASSERT_NE(nm, nullptr);
    std::set<std::string> exported;
    char line[512], name[400];
    char type = 0;
    while (std::fgets(line, sizeof line, nm) != nullptr) {
        // "<address> <type> <name>"; version nodes (A) are not code.
        if (std::sscanf(line, "%*s %c %399s", &type, name) == 2 && type != 'A')
            exported.insert(name);
    }
    ASSERT_EQ(pclose(nm), 0) << "nm failed";
    EXPECT_EQ(exported, (std::set<std::string> {"support_print_init", "support_print_is", "support_elprint_print_",
                                                 "support_print_done", "support_registry_get_long", "csp_get_paths",
                                                 "support_resource_string", "MultiByteToWideChar",
                                                 "WideCharToMultiByte"}));
}
