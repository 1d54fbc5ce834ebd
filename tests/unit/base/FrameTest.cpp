// StringToInt and the entry with a closed standard output: parts of the frame
// that need no display (its answers are pinned by the black-box tests).
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "app/Entry.h"
#include "base/BaseDialog.h"
#include "common/Sandbox.h"
#include "common/UnitKit.h"

namespace {

// The adapter of the number rule (its table is in tests/unit/protocol).
TEST(StringToInt, MinusOneWhenRefused)
{
    int value = 12345;
    EXPECT_FALSE(BaseDialog::StringToInt("12x", value));
    EXPECT_EQ(value, -1);
    EXPECT_TRUE(BaseDialog::StringToInt("", value));
    EXPECT_EQ(value, 0);
}

// A closed standard output is not taken over by the log: "ret=" never lands there.
TEST(Entry, ClosedStandardOutputKeepsTheAnswerOutOfTheLog)
{
    testkit::Sandbox settings;
    settings.Export();
    EXPECT_EQ(testkit::RunInChild({{"TORVIK_LOG", std::getenv("TORVIK_LOG")}}, [] {
        close(STDOUT_FILENO);
        char* argv[] = {const_cast<char*>("xvtui"), const_cast<char*>("VTBogus"), nullptr};
        return std::to_string(static_cast<unsigned>(RunEntry(2, argv)));
    }), "2147942487");
    EXPECT_NE(settings.ReadLog().find("VTBogus"), std::string::npos);
    EXPECT_EQ(settings.ReadLog().find("ret="), std::string::npos) << settings.ReadLog();
}

} // namespace
