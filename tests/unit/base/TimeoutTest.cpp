// The time-out settings and the countdown rules, without a display.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "common/Sandbox.h"
#include "base/Countdown.h"
#include "base/GetTimeout.h"

namespace {

TEST(GetTimeout, LocalThenGlobalThenDefault)
{
    const char* const global40 = "[KeyDevices]\npasswd_time=40\n";
    const struct {
        const char* what;
        const char* local; // settings file content, nullptr: no file
        const char* global;
        unsigned defaultValue;
        unsigned expected;
    } cases[] = {
        {"local wins", "[KeyDevices]\npasswd_time=30\n", global40, 600, 30},
        {"no local key: global", "[KeyDevices]\nother=1\n", global40, 600, 40},
        {"unreadable local value: global", "[KeyDevices]\npasswd_time=12a\n", global40, 600, 40},
        {"no local file: global", nullptr, global40, 600, 40},
        {"no files: default", nullptr, nullptr, 600, 600},
        {"no keys: default", "[KeyDevices]\n", "[KeyDevices]\n", 60, 60},
        {"zero is a value", "[KeyDevices]\npasswd_time=0\n", global40, 600, 0},
        {"negative as unsigned", "[KeyDevices]\npasswd_time=-1\n", global40, 600, 4294967295u},
        {"beyond 32 bits: the low bits", "[KeyDevices]\npasswd_time=0x100000005\n", global40, 600, 5},
    };
    testkit::Sandbox settings;
    settings.Export();
    for (const auto& c : cases) {
        for (const auto& [file, content] : {std::pair{"local.ini", c.local}, {"global.ini", c.global}})
            content ? settings.WriteFile(file, content) : (void)std::filesystem::remove(settings.Path(file));
        EXPECT_EQ(GetTimeout("passwd_time", c.defaultValue), c.expected) << c.what;
    }
}

// The labels of the base timer's ticks until it expires (at most `limit`).
std::vector<std::string> RunTicks(std::uint32_t total, std::uint32_t show, size_t limit = 1000)
{
    std::vector<std::string> labels;
    for (std::uint32_t timeLeft = total; labels.size() < limit;) {
        const CountdownTick tick = CountdownStep(timeLeft, show);
        if (tick.expired)
            break;
        labels.push_back(tick.label);
    }
    return labels;
}

TEST(Countdown, HiddenUntilShowTimeThenMinutesAndSeconds)
{
    const std::vector<std::string> labels = RunTicks(75, 60);
    ASSERT_EQ(labels.size(), 75u); // the 76th tick cancels
    EXPECT_EQ(labels[14], "");
    EXPECT_EQ(labels[15], "01:00");
    EXPECT_EQ(labels[16], "00:59");
    EXPECT_EQ(labels.back(), "00:01");
    EXPECT_TRUE(RunTicks(0, 60).empty()); // a total of 0 cancels at the first tick
    for (std::uint32_t show : {5u, 6u, 4294967295u})
        EXPECT_EQ(RunTicks(5, show), (std::vector<std::string>{"00:05", "00:04", "00:03", "00:02", "00:01"}));
    EXPECT_EQ(RunTicks(4294967295u, 4294967295u, 1).front(), "71582788:15");
}

TEST(Countdown, ResumeResetsUnlessZero)
{
    std::uint32_t timeLeft = 10;
    CountdownResume(timeLeft, 0);
    EXPECT_EQ(timeLeft, 10u);
    CountdownResume(timeLeft, 90);
    EXPECT_EQ(timeLeft, 90u);
    EXPECT_EQ(CountdownStep(timeLeft, 60).label, ""); // back above the show time: hidden
}

// The message dialog decrements first: 5 expires at the fifth tick, 0 never.
TEST(Countdown, MessageTimerDecrementsFirst)
{
    std::uint32_t timeLeft = 5;
    int ticks = 1;
    while (!MessageCountdownStep(timeLeft))
        ++ticks;
    EXPECT_EQ(ticks, 5);
    timeLeft = 0;
    EXPECT_FALSE(MessageCountdownStep(timeLeft));
    EXPECT_EQ(timeLeft, 4294967295u);
}

} // namespace
