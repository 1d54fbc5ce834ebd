// Xvfb.cpp: starts the per-process private X server.
#include "common/Xvfb.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testkit {
namespace {

constexpr int kStartTimeoutMs = 10000;

std::runtime_error SystemError(const std::string& what)
{
    return std::runtime_error("private Xvfb: " + what + ": " + std::strerror(errno));
}

// The running server; terminated by the destructor at process exit, and by
// the kernel (parent-death signal) when the test process is killed.
class XvfbProcess {
public:
    XvfbProcess() { Start(); }
    ~XvfbProcess()
    {
        if (m_pid > 0) {
            kill(m_pid, SIGTERM);
            int status = 0;
            while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
            }
        }
    }
    XvfbProcess(const XvfbProcess&) = delete;
    XvfbProcess& operator=(const XvfbProcess&) = delete;

    const std::string& Display() const { return m_display; }

private:
    void Start()
    {
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0)
            throw SystemError("pipe");
        // The server writes the display number to this descriptor; it must
        // survive exec, the read end must not.
        const int childFd = fcntl(fds[1], F_DUPFD, 3);
        close(fds[1]);
        if (childFd < 0) {
            close(fds[0]);
            throw SystemError("dup");
        }
        const std::string fdText = std::to_string(childFd);
        const char* argv[] = {"Xvfb", "-displayfd", fdText.c_str(), "-screen", "0", "1024x768x24",
                              "-nolisten", "tcp", "-noreset", nullptr};
        const pid_t parent = getpid();
        const pid_t pid = fork();
        if (pid < 0) {
            close(fds[0]);
            close(childFd);
            throw SystemError("fork");
        }
        if (pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            if (getppid() != parent)
                _exit(127);
            const int devNull = open("/dev/null", O_RDWR);
            if (devNull >= 0) {
                dup2(devNull, 0);
                dup2(devNull, 1);
                dup2(devNull, 2);
            }
            execvp("Xvfb", const_cast<char* const*>(argv));
            _exit(127);
        }
        close(childFd);
        m_pid = pid;

        std::string number;
        bool complete = false;
        while (!complete) {
            pollfd pfd{fds[0], POLLIN, 0};
            const int ready = poll(&pfd, 1, kStartTimeoutMs);
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0)
                break;
            char chunk[32];
            const ssize_t got = read(fds[0], chunk, sizeof chunk);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                break; // the server exited before it was ready
            for (ssize_t i = 0; i < got && !complete; ++i) {
                if (chunk[i] == '\n')
                    complete = true;
                else
                    number += chunk[i];
            }
        }
        close(fds[0]);
        if (!complete || number.empty()) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
            m_pid = -1;
            throw std::runtime_error("private Xvfb: the server did not report a display");
        }
        m_display = ":" + number;
        setenv("DISPLAY", m_display.c_str(), 1);
    }

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
