// The log: record format, one record a line, the level mask, concurrent
// writers, and that nothing ever reaches standard output.
#include "support/torvik.h"
#include "common/Sandbox.h"
#include "common/UnitKit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <regex>
#include <sys/stat.h>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

class Log : public ::testing::Test {
protected:
    void SetUp() override { m_box.Export(); }
    std::vector<std::string> Lines() const
    {
        std::vector<std::string> lines;
        std::istringstream in(m_box.ReadLog());
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }
    testkit::Sandbox m_box;
};

TEST_F(Log, RecordsAreAppendedOneLineEachNeverToStandardOutput)
{
    m_box.WriteFile("xvtui.log", "earlier line\n");
    const std::string out = m_box.Path("stdout");
    const std::string pid = testkit::RunInChild({{"TORVIK_LOG", m_box.LogPath()}}, [&out] {
        const int fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (fd < 0 || dup2(fd, STDOUT_FILENO) < 0)
            return std::string("no stdout file");
        TSupportPrint* log = support_print_init(nullptr, "xvtui", 0, 127);
        // Exception texts end in a line feed; inner control characters are escaped.
        support_elprint_print_(log, "%s", "", 42, "main", "Error in function: Show(...) : Bad args\n");
        support_elprint_print_(log, "%d items, %s", "file.cpp", 7, "", 3, "a\nb\\c\t\x01\r\n\n");
        support_print_done(log);
        unsetenv("TORVIK_LOG"); // once more, into syslog
        TSupportPrint* syslogged = support_print_init(nullptr, "xvtui-test", 0, 127);
        support_elprint_print_(syslogged, "%s", "", 1, "main", "unit test record");
        support_print_done(syslogged);
        std::fflush(stdout);
        return log != nullptr && syslogged != nullptr ? std::to_string(getpid()) : "no log";
    });
    EXPECT_EQ(m_box.ReadFile("stdout"), "");
    const auto lines = Lines();
    ASSERT_EQ(lines.size(), 3u) << pid;
    EXPECT_EQ(lines[0], "earlier line");
    const std::string head = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d{4} )" + pid + " xvtui 1 ";
    EXPECT_TRUE(std::regex_match(lines[1], std::regex(head + R"(main:42: Error in function: Show\(\.\.\.\) : Bad args)")))
        << lines[1];
    EXPECT_TRUE(std::regex_match(lines[2], std::regex(head + R"(\?:7: 3 items, a\\nb\\\\c\\t\\x01)"))) << lines[2];
}

TEST_F(Log, LevelsNullHandlesAndUnopenableFiles)
{
    // Bit n-1 of the mask enables level n; error records are level 1.
    TSupportPrint* log = support_print_init(nullptr, "xvtui", 0, 2);
    EXPECT_TRUE(!support_print_is(log, 1) && support_print_is(log, 2) && !support_print_is(log, 3));
    support_print_done(log);
    EXPECT_EQ(support_print_is(nullptr, 1), 0);
    support_elprint_print_(nullptr, "%s", "", 1, "main", "dropped");
    support_print_done(nullptr);
    EXPECT_EQ(support_print_init(nullptr, nullptr, 0, 127), nullptr);
    // A FIFO that nobody reads must not block the helper's start (the alarm
    // turns a hang into a failure).
    ASSERT_EQ(mkfifo(m_box.Path("fifo").c_str(), 0600), 0);
    alarm(10);
    for (const std::string& file : {m_box.Dir(), m_box.Path("no/such/dir.log"), m_box.Path("fifo")}) {
        setenv("TORVIK_LOG", file.c_str(), 1);
        EXPECT_EQ(support_print_init(nullptr, "xvtui", 0, 127), nullptr) << file;
    }
    alarm(0);
}

TEST_F(Log, ConcurrentWritersDoNotInterleave)
{
    const std::string payload(300, 'x');
    {
        std::vector<std::jthread> writers; // one handle, so one descriptor, each; joined at the block's end
        for (int w = 0; w < 4; ++w) {
            writers.emplace_back([w, &payload] {
                TSupportPrint* log = support_print_init(nullptr, "xvtui", 0, 127);
                for (int i = 0; i < 300; ++i)
                    support_elprint_print_(log, "%d %s", "", i, "writer", w, payload.c_str());
                support_print_done(log);
            });
        }
    }
    const auto lines = Lines();
    ASSERT_EQ(lines.size(), 1200u);
    const std::regex record(R"(\S+ \d+ xvtui 1 writer:\d+: \d )" + payload);
    for (const auto& line : lines)
        ASSERT_TRUE(std::regex_match(line, record)) << line;
}

} // namespace
