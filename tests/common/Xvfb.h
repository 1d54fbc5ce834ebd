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

// Starts the server unless it runs already, sets DISPLAY to it and returns
// ":N"; throws std::runtime_error when it does not start within seconds.
const std::string& PrivateDisplay();

} // namespace testkit
