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

std::string SpawnReady(const char* const argv[], int& pid, const std::string& failure)
{
    int fds[2];
    if (pipe(fds) != 0)
        throw std::runtime_error(failure + ": pipe failed");
    const auto flags = GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_STDERR_TO_DEV_NULL);
    const bool started = g_spawn_async_with_fds(
        nullptr, const_cast<char**>(argv), nullptr, flags, [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGTERM); },
        nullptr, &pid, -1, fds[1], -1, nullptr);
    close(fds[1]);
    std::string line;
    char c = 0;
    pollfd pfd{fds[0], POLLIN, 0};
    while (started) {
        const int ready = poll(&pfd, 1, 10000);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0 || read(fds[0], &c, 1) != 1 || c == '\n')
            break;
        line += c;
    }
    close(fds[0]);
    if (c != '\n' || line.empty()) {
        if (started && kill(pid, SIGKILL) == 0)
            waitpid(pid, nullptr, 0);
        pid = -1;
        throw std::runtime_error(failure);
    }
    return line;
}

void Terminate(int& pid)
{
    if (pid <= 0)
        return;
    kill(pid, SIGTERM);
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    pid = -1;
}

XServer::XServer()
{
    // The server writes its display number once it accepts connections.
    const char* argv[] = {"Xvfb", "-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp",
                          "-noreset", nullptr};
    m_display = ":" + SpawnReady(argv, m_pid, "private Xvfb: the server did not report a display");
}

XServer::~XServer()
{
    Stop();
}

void XServer::Stop()
{
    Terminate(m_pid);
}

const std::string& PrivateDisplay()
{
    static XServer server;
    static const bool exported = setenv("DISPLAY", server.Display().c_str(), 1) == 0;
    (void)exported;
    return server.Display();
}

} // namespace testkit
