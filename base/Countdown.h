/*
 * Countdown.h: the dialogs' time-out rules, free of GTK so they can be tested
 * without a display. BaseDialog's one-second timer and the message dialog's
 * own timer apply them to their time-left counters.
 */
#ifndef XVTUI_BASE_COUNTDOWN_H
#define XVTUI_BASE_COUNTDOWN_H

#include <cstdint>
#include <string>

// What one tick of the base timer decided.
struct CountdownTick {
    bool expired;      // time is up: the dialog cancels itself
    std::string label; // countdown text to show ("" hides it); empty when expired
};

// One tick of the base dialog's timer. The test comes before the decrement,
// so a total time of 0 expires at the first tick. While timeLeft exceeds
// showTime the label is empty, otherwise "MM:SS" of timeLeft; then timeLeft
// is decremented.
CountdownTick CountdownStep(std::uint32_t& timeLeft, std::uint32_t showTime);

// "%02d:%02d" of minutes and seconds, as the countdown label shows them.
std::string FormatCountdown(std::uint32_t seconds);

// User activity: timeLeft becomes resumeTime, unless resumeTime is 0 (never).
void CountdownResume(std::uint32_t& timeLeft, std::uint32_t resumeTime);

// One tick of the message dialog's timer: decrement first, then true when
// zero is reached. A total time of 0 therefore wraps and never expires.
bool MessageCountdownStep(std::uint32_t& timeLeft);

#endif
