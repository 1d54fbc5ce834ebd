// The entry with a closed standard output (its answers are pinned by the
// black-box tests).
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <unistd.h>

#include "app/Entry.h"
#include "common/Sandbox.h"
#include "common/UnitKit.h"

namespace {

// A closed standard output is not taken over by the log: "ret=" never lands there.
// No answer could reach anyone: the run ends with 109 before any dialog, and
// the log, which takes the free descriptor's place, gets no "ret=" text.
TEST(Entry, ClosedStandardOutputEndsWith109AndKeepsTheAnswerOutOfTheLog)
{
    testkit::Sandbox settings;
    settings.Export();
    EXPECT_EQ(testkit::RunInChild({{"TORVIK_LOG", std::getenv("TORVIK_LOG")}}, [] {
        close(STDOUT_FILENO);
        char* argv[] = {const_cast<char*>("xvtui"), const_cast<char*>("VTBogus"), nullptr};
        return std::to_string(static_cast<unsigned>(RunEntry(2, argv)));
    }), "109");
    EXPECT_NE(settings.ReadLog().find("standard output is closed"), std::string::npos) << settings.ReadLog();
    EXPECT_EQ(settings.ReadLog().find("ret="), std::string::npos) << settings.ReadLog();
}

} // namespace
