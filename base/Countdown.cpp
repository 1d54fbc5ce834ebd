#include "base/Countdown.h"

#include <cstdio>

CountdownTick CountdownStep(std::uint32_t& timeLeft, std::uint32_t showTime)
{
    if (timeLeft == 0)
        return {true, std::string()};
    CountdownTick tick{false, timeLeft > showTime ? std::string() : FormatCountdown(timeLeft)};
    --timeLeft;
    return tick;
}

std::string FormatCountdown(std::uint32_t seconds)
{
    char text[32] = {};
    std::snprintf(text, sizeof text, "%02d:%02d", static_cast<int>(seconds / 60),
                  static_cast<int>(seconds % 60));
    return text;
}

void CountdownResume(std::uint32_t& timeLeft, std::uint32_t resumeTime)
{
    if (resumeTime != 0)
        timeLeft = resumeTime;
}

bool MessageCountdownStep(std::uint32_t& timeLeft)
{
    --timeLeft;
    return timeLeft == 0;
}
