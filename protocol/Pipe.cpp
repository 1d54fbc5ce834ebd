#include "protocol/Pipe.h"

#include <algorithm>
#include <cerrno>
#include <climits>
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

struct Pipe::WatchState {
    Watch watch;
    std::chrono::steady_clock::time_point nextCheck;
    GiveUp gaveUp = GiveUp::No;
};

Pipe Pipe::Standard() noexcept
{
    return Pipe(STDIN_FILENO, STDOUT_FILENO);
}

Pipe Pipe::Watched(Watch watch) const
{
    Pipe watched(m_in, m_out);
    watched.m_watch = std::make_shared<WatchState>();
    watched.m_watch->watch = std::move(watch);
    // A zero interval would ask the callback in a busy loop.
    watched.m_watch->watch.interval = std::max(watched.m_watch->watch.interval, std::chrono::milliseconds(1));
    watched.m_watch->nextCheck = std::chrono::steady_clock::now() + watched.m_watch->watch.interval;
    return watched;
}

GiveUp Pipe::GaveUp() const noexcept
{
    return m_watch ? m_watch->gaveUp : GiveUp::No;
}

bool Pipe::Await(int fd, short events) const noexcept
{
    using Clock = std::chrono::steady_clock;
    WatchState& state = *m_watch;
    while (state.gaveUp == GiveUp::No) {
        const Clock::time_point now = Clock::now();
        if (now >= state.watch.deadline) {
            state.gaveUp = GiveUp::TimedOut;
            break;
        }
        if (now >= state.nextCheck) {
            // Asked on a clock of its own, so a parent that trickles bytes is watched too.
            state.nextCheck = now + state.watch.interval;
            if (state.watch.keepWaiting && !state.watch.keepWaiting()) {
                state.gaveUp = GiveUp::ParentLost;
                break;
            }
        }
        const auto until = std::min(state.nextCheck, state.watch.deadline);
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(until - now).count();
        pollfd entry{fd, events, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(std::clamp<long long>(wait, 0, INT_MAX)));
        if (ready > 0)
            return true; // ready, at its end or in error: the transfer tells which
        if (ready < 0 && errno != EINTR) {
            state.gaveUp = GiveUp::Failed;
            break;
        }
    }
    return false;
}

std::size_t Pipe::ReadWatched(unsigned char* bytes, std::size_t size) const noexcept
{
    std::size_t got = 0;
    while (got < size && Await(m_in, POLLIN)) {
        const ssize_t n = ::read(m_in, bytes + got, size - got);
        if (n > 0)
            got += static_cast<std::size_t>(n);
        else if (n == 0 || (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK))
            break; // end of input or an error
    }
    return got;
}

bool Pipe::WriteWatched(const unsigned char* bytes, std::size_t size) const noexcept
{
    SigpipeGuard guard;
    while (size > 0) {
        if (!Await(m_out, POLLOUT))
            return false;
        // A pipe that polls writable has room for PIPE_BUF bytes at least, so a
        // write of no more never blocks, whether or not the descriptor does.
        const ssize_t n = ::write(m_out, bytes, std::min<std::size_t>(size, PIPE_BUF));
        if (n >= 0) {
            bytes += n;
            size -= static_cast<std::size_t>(n);
            continue;
        }
        if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)
            continue;
        if (errno == EPIPE)
            guard.Raised();
        m_watch->gaveUp = GiveUp::Failed;
        return false;
    }
    return true;
}

std::size_t Pipe::Read(void* buffer, std::size_t size) const noexcept
{
    auto* bytes = static_cast<unsigned char*>(buffer);
    if (m_watch)
        return ReadWatched(bytes, size);
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

std::size_t Pipe::ReadSome(void* buffer, std::size_t size) const noexcept
{
    while (size > 0 && (!m_watch || Await(m_in, POLLIN))) {
        const ssize_t n = ::read(m_in, buffer, size);
        if (n > 0)
            return static_cast<std::size_t>(n);
        if (n == 0 || (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK))
            break;
        if (!m_watch && errno != EINTR && !WaitFor(m_in, POLLIN))
            break;
    }
    return 0;
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
    if (m_watch)
        return WriteWatched(bytes, size);
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
