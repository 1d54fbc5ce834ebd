// Xvfb.cpp: starts the per-process private X server.
#include "common/Xvfb.h"

#include <cerrno>
#include <cstdlib>
#include <glib.h>
#include <poll.h>
#include <signal.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testkit {

XServer::XServer()
{
    int fds[2];
    if (pipe(fds) != 0)
        throw std::runtime_error("private Xvfb: pipe failed");
    // The server writes "N\n" to its standard output once it accepts connections.
    const char* argv[] = {"Xvfb", "-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp",
                          "-noreset", nullptr};
    const auto flags = GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_STDERR_TO_DEV_NULL);
    const bool started = g_spawn_async_with_fds(
        nullptr, const_cast<char**>(argv), nullptr, flags, [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGTERM); },
        nullptr, &m_pid, -1, fds[1], -1, nullptr);
    close(fds[1]);
    std::string number;
    char c = 0;
    pollfd pfd{fds[0], POLLIN, 0};
    while (started) {
        const int ready = poll(&pfd, 1, 10000);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0 || read(fds[0], &c, 1) != 1 || c == '\n')
            break;
        number += c;
    }
    close(fds[0]);
    if (c != '\n' || number.empty()) {
        if (started && kill(m_pid, SIGKILL) == 0)
            waitpid(m_pid, nullptr, 0);
        throw std::runtime_error("private Xvfb: the server did not report a display");
    }
    m_display = ":" + number;
}

XServer::~XServer()
{
    Stop();
}

void XServer::Stop()
{
    if (m_pid <= 0)
        return;
    kill(m_pid, SIGTERM);
    while (waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    m_pid = -1;
}

const std::string& PrivateDisplay()
{
    static XServer server;
    static const bool exported = setenv("DISPLAY", server.Display().c_str(), 1) == 0;
    (void)exported;
    return server.Display();
}

} // namespace testkit
