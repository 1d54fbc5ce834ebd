// StringToInt and the entry with a closed standard output: parts of the frame
// that need no display (its answers are pinned by the black-box tests).
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "app/Entry.h"
#include "base/BaseDialog.h"
#include "common/Sandbox.h"
#include "common/UnitKit.h"

namespace {

TEST(StringToInt, WholeTextBase10)
{
    const struct {
        const char* text;
        bool ok;
        int value;
    } cases[] = {
        {"12", true, 12}, {"12x", false, -1},  {"", true, 0},    {" 1", true, 1},  {"+1", true, 1},
        {"-1", true, -1}, {"1 ", false, -1},   {"0x10", false, -1}, {"010", true, 10}, {"-", false, -1},
        {"2147483647", true, INT_MAX}, {"4294967297", true, 1}, // beyond 32 bits: the low bits
    };
    for (const auto& c : cases) {
        int value = 12345;
        EXPECT_EQ(BaseDialog::StringToInt(c.text, value), c.ok) << '"' << c.text << '"';
        EXPECT_EQ(value, c.value) << '"' << c.text << '"';
    }
    int value = 0;
    EXPECT_FALSE(BaseDialog::StringToInt(nullptr, value));
}

// A closed standard output is not taken over by the log: "ret=" never lands there.
TEST(Entry, ClosedStandardOutputKeepsTheAnswerOutOfTheLog)
{
    testkit::Sandbox settings;
    settings.Export();
    EXPECT_EQ(testkit::RunInChild({{"TORVIK_LOG", std::getenv("TORVIK_LOG")}}, [] {
        close(STDOUT_FILENO);
        char* argv[] = {const_cast<char*>("xvtui"), const_cast<char*>("VTBogus"), nullptr};
        return std::to_string(static_cast<unsigned>(RunEntry(2, argv, stdout)));
    }), "2147942487");
    EXPECT_NE(settings.ReadLog().find("VTBogus"), std::string::npos);
    EXPECT_EQ(settings.ReadLog().find("ret="), std::string::npos) << settings.ReadLog();
}

} // namespace
