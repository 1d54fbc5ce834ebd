// Xvfb.h: one private X server per test process (GTK initialises only once per
// process), started with -displayfd so parallel test processes never meet.
#pragma once

#include <string>

namespace testkit {

// Starts the server unless it runs already, sets DISPLAY to it and returns
// ":N"; throws std::runtime_error when it does not start within seconds.
const std::string& PrivateDisplay();

} // namespace testkit
