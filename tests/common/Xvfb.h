// Xvfb.h: one private X server per test process.
//
// GTK can be initialised only once per process, so every test of a process
// shares the same server. It is started on first use with -displayfd (the
// server picks a free display itself, so parallel test processes never meet),
// DISPLAY is set to it, and it is terminated when the process exits or dies.
#pragma once

#include <string>

namespace testkit {

// Starts the private server unless it runs already, sets DISPLAY to it and
// returns the display name (":N"). Throws std::runtime_error when the server
// cannot be started within a few seconds.
const std::string& PrivateDisplay();

} // namespace testkit
