#include "protocol/Pipe.h"

#include <cerrno>
#include <csignal>
#include <ctime>

#include <poll.h>
#include <pthread.h>
#include <unistd.h>

namespace xvtui::protocol {
namespace {

// A descriptor the parent made non-blocking had nothing to give or no room:
// wait as a blocking call would. False when waiting makes no sense any more.
bool WaitFor(int fd, short events) noexcept
{
    pollfd entry{fd, events, 0};
    while (::poll(&entry, 1, -1) < 0) {
        if (errno != EINTR)
            return false;
    }
    // A hang-up still lets the remaining bytes be read; the read reports the end.
    return (entry.revents & (POLLERR | POLLNVAL)) == 0 && ((events & POLLOUT) == 0 || (entry.revents & POLLHUP) == 0);
}

// Blocks SIGPIPE for the write and swallows the one the write may raise, so a
// reader that is gone shows as EPIPE whatever the process's disposition is.
class SigpipeGuard {
public:
    SigpipeGuard() noexcept
    {
        sigemptyset(&m_pipeSet);
        sigaddset(&m_pipeSet, SIGPIPE);
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        m_blocked = pthread_sigmask(SIG_BLOCK, &m_pipeSet, &m_oldMask) == 0;
    }
    ~SigpipeGuard()
    {
        if (!m_blocked)
            return;
        if (m_raised && !m_wasPending) {
            const timespec now{0, 0};
            while (sigtimedwait(&m_pipeSet, nullptr, &now) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &m_oldMask, nullptr);
    }
    SigpipeGuard(const SigpipeGuard&) = delete;
    SigpipeGuard& operator=(const SigpipeGuard&) = delete;

    void Raised() noexcept { m_raised = true; }

private:
    sigset_t m_pipeSet;
    sigset_t m_oldMask;
    bool m_wasPending = false;
    bool m_blocked = false;
    bool m_raised = false;
};

} // namespace

Pipe Pipe::Standard() noexcept
{
    return Pipe(STDIN_FILENO, STDOUT_FILENO);
}

std::size_t Pipe::Read(void* buffer, std::size_t size) const noexcept
{
    auto* bytes = static_cast<unsigned char*>(buffer);
    std::size_t got = 0;
    while (got < size) {
        const ssize_t n = ::read(m_in, bytes + got, size - got);
        if (n > 0) {
            got += static_cast<std::size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK) && WaitFor(m_in, POLLIN))
            continue;
        break; // end of input or an error
    }
    return got;
}

std::optional<std::uint32_t> Pipe::ReadWord() const noexcept
{
    std::uint32_t word = 0;
    if (!ReadExactly(&word, sizeof word))
        return std::nullopt;
    return word;
}

bool Pipe::Write(const void* data, std::size_t size) const noexcept
{
    const auto* bytes = static_cast<const unsigned char*>(data);
    SigpipeGuard guard;
    while (size > 0) {
        const ssize_t n = ::write(m_out, bytes, size);
        if (n >= 0) {
            bytes += n;
            size -= static_cast<std::size_t>(n);
            continue;
        }
        if (errno == EINTR)
            continue;
        if ((errno == EAGAIN || errno == EWOULDBLOCK) && WaitFor(m_out, POLLOUT))
            continue;
        if (errno == EPIPE)
            guard.Raised();
        return false;
    }
    return true;
}

} // namespace xvtui::protocol
