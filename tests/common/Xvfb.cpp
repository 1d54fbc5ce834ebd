// Xvfb.cpp: starts the per-process private X server.
#include "common/Xvfb.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testkit {
namespace {

// Terminated at process exit, and by the kernel when the test process dies.
class XvfbProcess {
public:
    XvfbProcess()
    {
        int fds[2];
        if (pipe(fds) != 0)
            throw std::runtime_error("private Xvfb: pipe failed");
        const std::string fdText = std::to_string(fds[1]);
        const pid_t parent = getpid();
        m_pid = fork();
        if (m_pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            const int devNull = open("/dev/null", O_RDWR);
            if (getppid() != parent || devNull < 0)
                _exit(127);
            close(fds[0]);
            for (int fd = 0; fd < 3; ++fd)
                dup2(devNull, fd);
            execlp("Xvfb", "Xvfb", "-displayfd", fdText.c_str(), "-screen", "0", "1024x768x24", "-nolisten",
                   "tcp", "-noreset", nullptr);
            _exit(127);
        }
        close(fds[1]);
        // The server writes "N\n" once it accepts connections.
        std::string number;
        char c = 0;
        pollfd pfd{fds[0], POLLIN, 0};
        while (m_pid > 0) {
            const int ready = poll(&pfd, 1, 10000);
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0 || read(fds[0], &c, 1) != 1 || c == '\n')
                break;
            number += c;
        }
        close(fds[0]);
        if (c != '\n' || number.empty()) {
            if (m_pid > 0 && kill(m_pid, SIGKILL) == 0)
                waitpid(m_pid, nullptr, 0);
            throw std::runtime_error("private Xvfb: the server did not report a display");
        }
        m_display = ":" + number;
        setenv("DISPLAY", m_display.c_str(), 1);
    }
    ~XvfbProcess()
    {
        kill(m_pid, SIGTERM);
        while (waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    XvfbProcess(const XvfbProcess&) = delete;
    XvfbProcess& operator=(const XvfbProcess&) = delete;

    const std::string& Display() const { return m_display; }

private:
    pid_t m_pid = -1;
    std::string m_display;
};

} // namespace

const std::string& PrivateDisplay()
{
    static XvfbProcess server;
    return server.Display();
}

} // namespace testkit
