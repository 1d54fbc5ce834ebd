// Xvfb.h: one private X server per test process (GTK initialises only once per
// process), started with -displayfd so parallel test processes never meet.
#pragma once

#include <string>

namespace testkit {

// A private Xvfb, terminated with the object, and by the kernel when the test
// process dies. Throws std::runtime_error when it does not start within seconds.
class XServer {
public:
    XServer();
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    const std::string& Display() const { return m_display; } // ":N"
    void Stop(); // terminates the server and waits for it

private:
    int m_pid = -1;
    std::string m_display;
};

// Starts `argv` (searched on PATH, standard error to /dev/null, SIGTERM when
// the test process dies) and reads the line it writes to its standard output
// once it is ready (Xvfb's display number, dbus-daemon's address), without the
// newline; sets `pid`. Throws std::runtime_error with `failure` when no line
// comes within seconds.
std::string SpawnReady(const char* const argv[], int& pid, const std::string& failure);
// Terminates a child started with SpawnReady and waits for it; pid becomes -1.
void Terminate(int& pid);

// Starts the server unless it runs already, sets DISPLAY to it and returns
// ":N"; throws std::runtime_error when it does not start within seconds.
const std::string& PrivateDisplay();

} // namespace testkit
