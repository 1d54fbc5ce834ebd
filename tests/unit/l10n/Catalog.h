// Catalogues compiled for the localisation tests.
#pragma once

#include "common/UnitKit.h"

#include <filesystem>
#include <map>
#include <string>

// Compiles texts of set 1 (number -> UTF-8 text) into `directory`/libcsp.cat.
inline bool CompileCatalog(const std::string& directory, const std::map<unsigned, std::string>& texts)
{
    std::filesystem::create_directories(directory);
    std::string msg = "$quote \"\n$set 1\n";
    for (const auto& [id, text] : texts)
        msg += std::to_string(id) + " \"" + text + "\"\n";
    return testkit::Gencat(directory + "/libcsp.cat", msg);
}
