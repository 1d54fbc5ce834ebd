// The doctor checks exactly the texts our catalogues carry: a text added to
// the catalogues for a dialog must be checked on machines too, and a number
// the doctor asks for must exist in both languages.
#include "client/Doctor.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

namespace {

std::set<unsigned> NumbersIn(const std::string& source)
{
    std::ifstream in(source);
    EXPECT_TRUE(in) << source;
    std::set<unsigned> numbers;
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] >= '0' && line[0] <= '9')
            numbers.insert(static_cast<unsigned>(std::stoul(line)));
    return numbers;
}

TEST(DoctorTexts, AreTheTextsOfBothCatalogues)
{
    const std::set<unsigned> checked(std::begin(xvtui::client::kCatalogTextsUsed),
                                     std::end(xvtui::client::kCatalogTextsUsed));
    for (const char* language : {"en", "ru"}) {
        SCOPED_TRACE(language);
        EXPECT_EQ(NumbersIn(XVTUI_SOURCE_DIR "/l10n/catalogs/libcsp." + std::string(language) + ".msg"),
                  checked);
    }
}

} // namespace
