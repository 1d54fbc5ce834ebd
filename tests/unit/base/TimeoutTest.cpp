// The time-out settings and the countdown rules, without a display.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "TempSettings.h"
#include "base/Countdown.h"
#include "base/GetTimeout.h"

namespace {

struct TimeoutCase {
    const char* what;
    const char* local;  // settings file content, nullptr: no file
    const char* global;
    unsigned defaultValue;
    unsigned expected;
};

const TimeoutCase kTimeoutCases[] = {
    {"local wins over global", "[KeyDevices]\npasswd_time=30\n", "[KeyDevices]\npasswd_time=40\n", 600, 30},
    {"missing local key falls back to global", "[KeyDevices]\nother=1\n", "[KeyDevices]\npasswd_time=40\n", 600, 40},
    {"unreadable local value falls back to global", "[KeyDevices]\npasswd_time=12a\n",
     "[KeyDevices]\npasswd_time=40\n", 600, 40},
    {"missing local file falls back to global", nullptr, "[KeyDevices]\npasswd_time=40\n", 600, 40},
    {"wrong local section falls back to global", "[Other]\npasswd_time=30\n", "[KeyDevices]\npasswd_time=40\n", 600,
     40},
    {"neither gives the default", nullptr, nullptr, 600, 600},
    {"neither has the key: default", "[KeyDevices]\n", "[KeyDevices]\n", 60, 60},
    {"zero is a value, not a miss", "[KeyDevices]\npasswd_time=0\n", "[KeyDevices]\npasswd_time=40\n", 600, 0},
    {"negative is taken as unsigned", "[KeyDevices]\npasswd_time=-1\n", nullptr, 600, 4294967295u},
    {"negative global as unsigned", nullptr, "[KeyDevices]\npasswd_time=-2\n", 600, 4294967294u},
    {"beyond 32 bits keeps the low bits", "[KeyDevices]\npasswd_time=0x100000005\n", nullptr, 600, 5},
    {"2^32 becomes 0", "[KeyDevices]\npasswd_time=4294967296\n", nullptr, 600, 0},
};

TEST(GetTimeout, LocalThenGlobalThenDefault)
{
    TempSettings settings;
    for (const TimeoutCase& c : kTimeoutCases) {
        settings.SetLocal(c.local);
        settings.SetGlobal(c.global);
        EXPECT_EQ(GetTimeout("passwd_time", c.defaultValue), c.expected) << c.what;
    }
}

// Runs base ticks until expiry (at most `limit`) and returns the labels shown.
std::vector<std::string> RunTicks(std::uint32_t total, std::uint32_t show, size_t limit = 1000)
{
    std::vector<std::string> labels;
    std::uint32_t timeLeft = total;
    while (labels.size() < limit) {
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
    for (size_t i = 0; i < 15; ++i)
        EXPECT_EQ(labels[i], "") << "tick " << i;
    EXPECT_EQ(labels[15], "01:00");
    EXPECT_EQ(labels[16], "00:59");
    EXPECT_EQ(labels.back(), "00:01");
}

TEST(Countdown, ZeroTotalCancelsAtFirstTick)
{
    std::uint32_t timeLeft = 0;
    EXPECT_TRUE(CountdownStep(timeLeft, 60).expired);
    EXPECT_EQ(timeLeft, 0u);
}

TEST(Countdown, ShowTimeAtOrAboveTotalShowsFromFirstTick)
{
    for (std::uint32_t show : {5u, 6u, 4294967295u}) {
        const std::vector<std::string> labels = RunTicks(5, show);
        EXPECT_EQ(labels, (std::vector<std::string>{"00:05", "00:04", "00:03", "00:02", "00:01"})) << show;
    }
}

TEST(Countdown, ResumeResetsUnlessZero)
{
    std::uint32_t timeLeft = 10;
    CountdownResume(timeLeft, 0);
    EXPECT_EQ(timeLeft, 10u);
    CountdownResume(timeLeft, 90);
    EXPECT_EQ(timeLeft, 90u);
    // The reset extends a countdown that is already showing.
    timeLeft = 3;
    CountdownStep(timeLeft, 60);
    CountdownResume(timeLeft, 120);
    EXPECT_EQ(CountdownStep(timeLeft, 60).label, "");
}

TEST(Countdown, FormatKeepsLargeMinutes)
{
    EXPECT_EQ(FormatCountdown(6000), "100:00");
    EXPECT_EQ(FormatCountdown(4294967295u), "71582788:15");
}

TEST(Countdown, MessageTimerDecrementsFirst)
{
    std::uint32_t timeLeft = 5;
    int ticks = 1;
    while (!MessageCountdownStep(timeLeft))
        ++ticks;
    EXPECT_EQ(ticks, 5);

    // 0 wraps to the largest value: the message dialog never times out.
    timeLeft = 0;
    EXPECT_FALSE(MessageCountdownStep(timeLeft));
    EXPECT_EQ(timeLeft, 4294967295u);

    timeLeft = 1;
    EXPECT_TRUE(MessageCountdownStep(timeLeft));
}

} // namespace
