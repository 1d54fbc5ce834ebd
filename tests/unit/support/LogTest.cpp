// The log: record format, one record a line, level mask, concurrent writers,
// and that nothing ever reaches standard output.

#include "support/torvik.h"
#include "SupportTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <regex>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using supporttest::ReadFile;
using supporttest::RunInChild;
using supporttest::TempDir;
using supporttest::WriteFile;

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

class Log : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_file = m_dir.File("torvik.log");
        setenv("TORVIK_LOG", m_file.c_str(), 1);
    }
    void TearDown() override { unsetenv("TORVIK_LOG"); }

    TempDir m_dir;
    std::string m_file;
};

TEST_F(Log, RecordsAreAppendedOneLineEach)
{
    WriteFile(m_file, "earlier line\n");
    TSupportPrint* log = support_print_init(nullptr, "xvtui", 0, 127);
    ASSERT_NE(log, nullptr);
    support_elprint_print_(log, "%s", "", 42, "main",
                           "Error in function: Show(...) : Bad args\n");
    support_elprint_print_(log, "%d items, %s", "file.cpp", 7, "", 3, "a\nb\\c\t\x01\r\n\n");
    support_print_done(log);

    const auto lines = Lines(ReadFile(m_file));
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "earlier line");
    const std::string pid = std::to_string(getpid());
    const std::string stamp = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d{4} )";
    EXPECT_TRUE(std::regex_match(
        lines[1], std::regex(stamp + pid + R"( xvtui 1 main:42: Error in function: Show\(\.\.\.\) : Bad args)")))
        << lines[1];
    EXPECT_TRUE(std::regex_match(
        lines[2], std::regex(stamp + pid + R"( xvtui 1 \?:7: 3 items, a\\nb\\\\c\\t\\x01)")))
        << lines[2];
}

TEST_F(Log, LevelMaskSelectsLevelsAndErrorRecords)
{
    struct Case {
        unsigned long mask;
        std::vector<unsigned long> enabled; // of levels 0..9
        bool writesErrors;
    };
    const std::vector<Case> cases = {
        {127, {1, 2, 3, 4, 5, 6, 7}, true},
        {0, {}, false},
        {2, {2}, false},
        {1, {1}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("mask " + std::to_string(c.mask));
        WriteFile(m_file, "");
        TSupportPrint* log = support_print_init(nullptr, "xvtui", 0, c.mask);
        ASSERT_NE(log, nullptr);
        for (unsigned long level = 0; level <= 9; ++level) {
            const bool expected =
                std::find(c.enabled.begin(), c.enabled.end(), level) != c.enabled.end();
            EXPECT_EQ(support_print_is(log, level) != 0, expected) << "level " << level;
        }
        support_elprint_print_(log, "%s", "", 1, "main", "text");
        support_print_done(log);
        EXPECT_EQ(Lines(ReadFile(m_file)).size(), c.writesErrors ? 1u : 0u);
    }
}

TEST_F(Log, NullHandlesAndUnopenableFiles)
{
    EXPECT_EQ(support_print_is(nullptr, 1), 0);
    support_elprint_print_(nullptr, "%s", "", 1, "main", "dropped");
    support_print_done(nullptr);
    EXPECT_EQ(support_print_init(nullptr, nullptr, 0, 127), nullptr);

    setenv("TORVIK_LOG", m_dir.Path().c_str(), 1); // a directory
    EXPECT_EQ(support_print_init(nullptr, "xvtui", 0, 127), nullptr);
    setenv("TORVIK_LOG", m_dir.File("no/such/dir.log").c_str(), 1);
    EXPECT_EQ(support_print_init(nullptr, "xvtui", 0, 127), nullptr);
}

TEST_F(Log, ConcurrentWritersDoNotInterleave)
{
    constexpr int kWriters = 4;
    constexpr int kRecords = 300;
    const std::string payload(300, 'x');
    std::vector<pid_t> children;
    std::fflush(nullptr);
    for (int w = 0; w < kWriters; ++w) {
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            TSupportPrint* log = support_print_init(nullptr, "xvtui", 0, 127);
            for (int i = 0; i < kRecords; ++i)
                support_elprint_print_(log, "%d %s", "", i, "writer", w, payload.c_str());
            support_print_done(log);
            _exit(log != nullptr ? 0 : 1);
        }
        children.push_back(pid);
    }
    for (const pid_t pid : children) {
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    const auto lines = Lines(ReadFile(m_file));
    ASSERT_EQ(lines.size(), static_cast<size_t>(kWriters * kRecords));
    const std::regex record(R"(\S+ \d+ xvtui 1 writer:\d+: \d )" + payload);
    for (const auto& line : lines)
        ASSERT_TRUE(std::regex_match(line, record)) << line;
}

TEST(LogOutput, NothingReachesStandardOutput)
{
    TempDir dir;
    const std::string file = dir.File("out.log");
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    const int rc = RunInChild([&] {
        dup2(pipeFds[1], STDOUT_FILENO);
        close(pipeFds[0]);
        close(pipeFds[1]);
        // Once into a file, once into syslog.
        setenv("TORVIK_LOG", file.c_str(), 1);
        TSupportPrint* toFile = support_print_init(nullptr, "xvtui", 0, 127);
        support_elprint_print_(toFile, "%s", "", 1, "main", "to the file");
        support_print_done(toFile);
        unsetenv("TORVIK_LOG");
        TSupportPrint* toSyslog = support_print_init(nullptr, "xvtui-test", 0, 127);
        support_elprint_print_(toSyslog, "%s", "", 1, "main", "unit test record");
        support_print_done(toSyslog);
        fflush(stdout);
        return toFile != nullptr && toSyslog != nullptr ? 0 : 1;
    });
    close(pipeFds[1]);
    char buffer[64];
    const ssize_t n = read(pipeFds[0], buffer, sizeof buffer);
    close(pipeFds[0]);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(n, 0) << "standard output received data";
    EXPECT_EQ(Lines(ReadFile(file)).size(), 1u);
}

} // namespace
