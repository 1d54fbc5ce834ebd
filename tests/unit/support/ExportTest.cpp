// The library's dynamic symbol table holds exactly the interface of torvik.h.

#include "support/torvik.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <dlfcn.h>
#include <set>
#include <string>

namespace {

const std::set<std::string> kInterface = {
    "support_print_init", "support_print_is", "support_elprint_print_",
    "support_print_done", "support_registry_get_long", "csp_get_paths",
    "support_resource_string", "MultiByteToWideChar", "WideCharToMultiByte",
};

// The file of the libtorvik.so.4 this test is linked with.
std::string LibraryFile()
{
    Dl_info info {};
    if (dladdr(reinterpret_cast<void*>(&csp_get_paths), &info) == 0 || info.dli_fname == nullptr)
        return std::string();
    return info.dli_fname;
}

TEST(Exports, EveryInterfaceNameResolves)
{
    const std::string file = LibraryFile();
    ASSERT_NE(file.find("libtorvik.so.4"), std::string::npos) << file;
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    for (const auto& name : kInterface)
        EXPECT_NE(dlsym(library, name.c_str()), nullptr) << name;
    dlclose(library);
}

TEST(Exports, NothingElseIsExported)
{
    const std::string command = "nm -D --defined-only '" + LibraryFile() + "'";
    FILE* nm = popen(command.c_str(), "r");
    ASSERT_NE(nm, nullptr);
    std::set<std::string> exported;
    char line[512];
    while (std::fgets(line, sizeof line, nm) != nullptr) {
        char type = 0;
        char name[400] = {};
        // "<address> <type> <name>"; absolute version-node symbols (A) are not code.
        if (std::sscanf(line, "%*s %c %399s", &type, name) == 2 && type != 'A')
            exported.insert(name);
    }
    ASSERT_EQ(pclose(nm), 0) << "nm failed";
    EXPECT_EQ(exported, kInterface);
}

} // namespace
