// HelperProcess.cpp: fork/exec of the helper with pipes, and its collection.
#include "client/HelperProcess.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace xvtui::client {
namespace {

using Clock = std::chrono::steady_clock;
using Deadline = std::optional<Clock::time_point>;

constexpr size_t kReadChunk = 64 * 1024;

ClientError SystemError(const std::string& what)
{
    return ClientError(what + ": " + std::strerror(errno));
}

void CloseFd(int& fd)
{
    if (fd >= 0) {
        close(fd);
        fd = -1;
    }
}

// A close-on-exec pipe whose ends are above the standard descriptors, so that
// the child's dup2 onto 0 and 1 can never clobber one of them.
struct Pipe {
    int read = -1;
    int write = -1;

    Pipe()
    {
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0)
            throw SystemError("pipe");
        read = Raise(fds[0]);
        write = Raise(fds[1]);
        if (read < 0 || write < 0) {
            CloseFd(read);
            CloseFd(write);
            throw SystemError("pipe");
        }
    }
    ~Pipe()
    {
        CloseFd(read);
        CloseFd(write);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int Release(int& end)
    {
        const int fd = end;
        end = -1;
        return fd;
    }

private:
    static int Raise(int fd)
    {
        if (fd < 0 || fd > 2)
            return fd;
        const int moved = fcntl(fd, F_DUPFD_CLOEXEC, 3);
        close(fd);
        return moved;
    }
};

// Milliseconds left until the deadline for poll(): -1 for none, 0 when passed.
int PollTimeout(const Deadline& deadline)
{
    if (!deadline)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
}

// write() that reports a closed reader as EPIPE without raising SIGPIPE in
// this process (the signal is blocked for the call, and one that the call
// itself raised is taken off the pending set).
ssize_t WriteWithoutSigpipe(int fd, const char* data, size_t size)
{
    sigset_t pipeSet, previous, pending;
    sigemptyset(&pipeSet);
    sigaddset(&pipeSet, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSet, &previous);
    sigpending(&pending);
    const bool wasPending = sigismember(&pending, SIGPIPE) == 1;
    const ssize_t written = write(fd, data, size);
    const int error = errno;
    if (written < 0 && error == EPIPE && !wasPending) {
        const timespec zero{};
        while (sigtimedwait(&pipeSet, nullptr, &zero) < 0 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    errno = error;
    return written;
}

// Everything the child needs, prepared before fork: after it, only
// async-signal-safe calls are made.
struct ExecPlan {
    std::vector<std::string> strings;
    std::vector<char*> argv;
    std::vector<std::string> envStrings;
    std::vector<char*> envp;
    char** env = nullptr;
};

[[noreturn]] void ExecHelper(const ExecPlan& plan, int inRead, int outWrite, int errWrite)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    // A provider may ignore SIGPIPE; the helper starts with the default.
    struct sigaction dfl {};
    dfl.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &dfl, nullptr);

    if (dup2(inRead, 0) < 0 || dup2(outWrite, 1) < 0)
        _exit(127);
    int errFd = errWrite;
    if (errWrite != 3) {
        errFd = dup3(errWrite, 3, O_CLOEXEC);
        if (errFd < 0)
            _exit(127);
    }
    close_range(4, ~0U, 0);
    execve(plan.argv[0], plan.argv.data(), plan.env);
    const int error = errno;
    [[maybe_unused]] const ssize_t ignored = write(errFd, &error, sizeof error);
    _exit(127);
}

// Reads exactly `size` bytes, or fewer at end of file.
size_t ReadFull(int fd, void* data, size_t size)
{
    size_t done = 0;
    while (done < size) {
        const ssize_t got = read(fd, static_cast<char*>(data) + done, size - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}

int PidfdOpen(pid_t pid)
{
    return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
}

pid_t WaitPid(pid_t pid, int* status)
{
    pid_t result;
    do {
        result = waitpid(pid, status, 0);
    } while (result < 0 && errno == EINTR);
    return result;
}

} // namespace

HelperProcess::HelperProcess(const Request& request, const LaunchOptions& options)
    : m_input(request.input), m_maxOutput(options.maxOutput)
{
    ExecPlan plan;
    plan.strings.push_back(options.helper);
    plan.strings.insert(plan.strings.end(), request.arguments.begin(), request.arguments.end());
    for (auto& s : plan.strings)
        plan.argv.push_back(s.data());
    plan.argv.push_back(nullptr);
    if (options.environment) {
        plan.envStrings = *options.environment;
        for (auto& s : plan.envStrings)
            plan.envp.push_back(s.data());
        plan.envp.push_back(nullptr);
        plan.env = plan.envp.data();
    } else {
        plan.env = environ;
    }

    Pipe in, out, err;
    std::optional<Pipe> pidPipe;
    if (options.intermediateParent) {
        if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
            throw SystemError("PR_SET_CHILD_SUBREAPER");
        pidPipe.emplace();
    }

    const pid_t first = fork();
    if (first < 0)
        throw SystemError("fork");
    if (first == 0) {
        if (!pidPipe)
            ExecHelper(plan, in.read, out.write, err.write);
        // The intermediate parent: starts the helper, reports its pid, and
        // stays until the helper has ended without reaping it, so that its
        // status is left for this process, which inherits it.
        const pid_t helper = fork();
        if (helper == 0)
            ExecHelper(plan, in.read, out.write, err.write);
        const pid_t report = helper < 0 ? -errno : helper;
        [[maybe_unused]] const ssize_t ignored = write(pidPipe->write, &report, sizeof report);
        // No end of the helper's pipes stays open here: closing its input
        // must reach it as the end of the input, as without this parent.
        close_range(3, ~0U, 0);
        if (helper > 0) {
            siginfo_t info;
            while (waitid(P_PID, static_cast<id_t>(helper), &info, WEXITED | WNOWAIT) < 0 &&
                   errno == EINTR) {
            }
        }
        _exit(0);
    }

    CloseFd(in.read);
    CloseFd(out.write);
    CloseFd(err.write);
    if (pidPipe) {
        m_intermediate = first;
        CloseFd(pidPipe->write);
        pid_t report = -1;
        if (ReadFull(pidPipe->read, &report, sizeof report) != sizeof report || report < 0) {
            kill(m_intermediate, SIGKILL);
            WaitPid(m_intermediate, nullptr);
            errno = report < 0 ? -report : EIO;
            throw SystemError("cannot start the helper's parent");
        }
        m_pid = report;
    } else {
        m_pid = first;
    }

    // The error pipe closes on a successful exec, or carries exec's errno.
    int execError = 0;
    if (ReadFull(err.read, &execError, sizeof execError) == sizeof execError) {
        if (m_intermediate > 0)
            WaitPid(m_intermediate, nullptr);
        WaitPid(m_pid, nullptr);
        errno = execError;
        throw SystemError("cannot run " + options.helper);
    }

    m_pidFd = PidfdOpen(m_pid);
    if (m_pidFd < 0) {
        const int error = errno;
        kill(m_pid, SIGKILL);
        if (m_intermediate > 0)
            WaitPid(m_intermediate, nullptr);
        WaitPid(m_pid, nullptr);
        errno = error;
        throw SystemError("pidfd_open");
    }
    m_inFd = in.Release(in.write);
    m_outFd = out.Release(out.read);
    fcntl(m_inFd, F_SETFL, O_NONBLOCK);
    fcntl(m_outFd, F_SETFL, O_NONBLOCK);

    // Most requests carry a few bytes: write them now, so that a helper that
    // reads its input before showing anything can go on at once.
    while (m_inputWritten < m_input.size()) {
        const ssize_t n = WriteWithoutSigpipe(m_inFd, m_input.data() + m_inputWritten,
                                              m_input.size() - m_inputWritten);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno == EAGAIN)
            return;
        if (n < 0)
            break;
        m_inputWritten += static_cast<size_t>(n);
    }
    if (!options.conversation)
        CloseInput();
}

HelperProcess::~HelperProcess()
{
    if (!m_finished) {
        if (m_pid > 0 && !m_reaped)
            kill(m_pid, SIGKILL);
        RunResult ignored;
        CloseInput();
        CloseFd(m_outFd);
        try {
            Reap(ignored, std::nullopt);
        } catch (...) {
        }
    }
    CloseInput();
    CloseFd(m_outFd);
    CloseFd(m_pidFd);
}

void HelperProcess::CloseInput()
{
    CloseFd(m_inFd);
    m_input.clear();
}

void HelperProcess::KillIntermediate()
{
    if (m_intermediate <= 0 || m_intermediateKilled)
        throw ClientError("the helper has no intermediate parent to kill");
    kill(m_intermediate, SIGKILL);
    WaitPid(m_intermediate, nullptr);
    m_intermediateKilled = true;
}

void HelperProcess::CloseOutput()
{
    CloseFd(m_outFd);
}

void HelperProcess::Signal(int signal)
{
    if (!m_reaped)
        kill(m_pid, signal);
}

bool HelperProcess::WaitForExit(std::chrono::milliseconds timeout)
{
    if (m_reaped)
        return true;
    const Deadline deadline = Clock::now() + timeout;
    for (;;) {
        pollfd fd{m_pidFd, POLLIN, 0};
        const int ready = poll(&fd, 1, PollTimeout(deadline));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready < 0)
            throw SystemError("poll");
        return ready > 0;
    }
}

bool HelperProcess::Send(std::string_view bytes, std::chrono::milliseconds timeout)
{
    const Deadline deadline = Clock::now() + timeout;
    const auto writeAll = [&](std::string_view data) {
        while (!data.empty()) {
            if (m_inFd < 0)
                return false;
            const ssize_t n = WriteWithoutSigpipe(m_inFd, data.data(), data.size());
            if (n > 0) {
                data.remove_prefix(static_cast<size_t>(n));
                continue;
            }
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0 && errno != EAGAIN)
                return false; // the helper has gone: nobody reads its input
            pollfd fd{m_inFd, POLLOUT, 0};
            const int ready = poll(&fd, 1, PollTimeout(deadline));
            if (ready == 0)
                return false;
            if (ready < 0 && errno != EINTR)
                throw SystemError("poll");
        }
        return true;
    };
    if (!writeAll(m_input.view().substr(m_inputWritten)))
        return false;
    m_inputWritten = m_input.size();
    return writeAll(bytes);
}

size_t HelperProcess::Receive(void* buffer, size_t size, std::chrono::milliseconds timeout)
{
    const Deadline deadline = Clock::now() + timeout;
    auto* bytes = static_cast<char*>(buffer);
    size_t got = 0;
    while (got < size && m_outFd >= 0) {
        const ssize_t n = read(m_outFd, bytes + got, size - got);
        if (n > 0) {
            got += static_cast<size_t>(n);
            continue;
        }
        if (n == 0)
            break; // the helper closed its output: it has ended
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN)
            break;
        pollfd fd{m_outFd, POLLIN, 0};
        const int ready = poll(&fd, 1, PollTimeout(deadline));
        if (ready == 0)
            break;
        if (ready < 0 && errno != EINTR)
            throw SystemError("poll");
    }
    return got;
}

RunResult HelperProcess::Finish(std::optional<std::chrono::milliseconds> timeout)
{
    if (m_finished)
        throw ClientError("the helper has been finished already");
    RunResult result;
    Deadline deadline;
    if (timeout)
        deadline = Clock::now() + *timeout;
    PumpIo(result, deadline);
    Reap(result, deadline);
    m_finished = true;
    return result;
}

void HelperProcess::PumpIo(RunResult& result, Deadline deadline)
{
    while (m_inFd >= 0 || m_outFd >= 0) {
        pollfd fds[2];
        nfds_t count = 0;
        int inIndex = -1, outIndex = -1;
        if (m_inFd >= 0) {
            inIndex = static_cast<int>(count);
            fds[count++] = pollfd{m_inFd, POLLOUT, 0};
        }
        if (m_outFd >= 0) {
            outIndex = static_cast<int>(count);
            fds[count++] = pollfd{m_outFd, POLLIN, 0};
        }
        const int ready = poll(fds, count, PollTimeout(deadline));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready < 0)
            throw SystemError("poll");
        if (ready == 0) {
            // Deadline: the helper is killed; Reap collects it.
            kill(m_pid, SIGKILL);
            result.timedOut = true;
            CloseInput();
            CloseFd(m_outFd);
            return;
        }
        if (inIndex >= 0 && fds[inIndex].revents != 0) {
            const ssize_t n = WriteWithoutSigpipe(m_inFd, m_input.data() + m_inputWritten,
                                                  m_input.size() - m_inputWritten);
            if (n > 0)
                m_inputWritten += static_cast<size_t>(n);
            if ((n < 0 && errno != EINTR && errno != EAGAIN) || m_inputWritten >= m_input.size())
                CloseInput();
        }
        if (outIndex >= 0 && fds[outIndex].revents != 0) {
            for (;;) {
                // Room for one byte beyond the limit tells an answer of exactly
                // the limit from a longer one.
                const size_t room = std::min(kReadChunk, m_maxOutput + 1 - result.output.size());
                const size_t old = result.output.size();
                result.output.resize(old + room);
                const ssize_t got = read(m_outFd, result.output.data() + old, room);
                result.output.resize(old + static_cast<size_t>(std::max<ssize_t>(got, 0)));
                if (got < 0 && errno == EINTR)
                    continue;
                if (got < 0 && errno == EAGAIN)
                    break;
                if (got <= 0) {
                    // End of the answer: the helper closed its output (exited).
                    CloseFd(m_outFd);
                    CloseInput();
                    break;
                }
                if (result.output.size() > m_maxOutput) {
                    result.outputTruncated = true;
                    result.output.resize(m_maxOutput);
                    CloseFd(m_outFd);
                    CloseInput();
                    break;
                }
            }
        }
    }
}

void HelperProcess::Reap(RunResult& result, Deadline deadline)
{
    if (m_pid <= 0 || m_reaped)
        return;
    if (m_pidFd >= 0) {
        for (;;) {
            pollfd fd{m_pidFd, POLLIN, 0};
            const int ready = poll(&fd, 1, PollTimeout(deadline));
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready == 0) {
                kill(m_pid, SIGKILL);
                result.timedOut = true;
                deadline.reset();
                continue;
            }
            break;
        }
    }
    if (m_intermediate > 0 && !m_intermediateKilled) {
        // It ends as soon as the helper has; then the helper is ours to reap.
        WaitPid(m_intermediate, nullptr);
        m_intermediateKilled = true;
    }
    int status = 0;
    if (WaitPid(m_pid, &status) == m_pid) {
        if (WIFEXITED(status)) {
            result.exited = true;
            result.exitStatus = WEXITSTATUS(status);
        } else if (WIFSIGNALED(status)) {
            result.termSignal = WTERMSIG(status);
        }
    }
    m_reaped = true;
}

RunResult Run(const Request& request, const LaunchOptions& options,
              std::optional<std::chrono::milliseconds> timeout)
{
    HelperProcess process(request, options);
    return process.Finish(timeout);
}

Answer Ask(const Request& request, const LaunchOptions& options,
           std::optional<std::chrono::milliseconds> timeout)
{
    const RunResult run = Run(request, options, timeout);
    return Decode(run, request.decoder);
}

std::string HelperNextTo(const std::string& executable)
{
    const size_t slash = executable.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : executable.substr(0, slash);
    return (dir.empty() ? std::string("/") : dir) + (dir.empty() ? "xvtui" : "/xvtui");
}

std::string SelfExecutable()
{
    std::string path(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0)
        throw SystemError("readlink /proc/self/exe");
    path.resize(static_cast<size_t>(length));
    return path;
}

} // namespace xvtui::client
