// Watched pipes: no read or write waits past its deadline or past the loss of
// the parent, bytes that come in pieces are still taken whole, and a pipe that
// gave up stays given up.
#include "protocol/Pipe.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <functional>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using xvtui::protocol::GiveUp;
using xvtui::protocol::Pipe;
using xvtui::protocol::Watch;
using Clock = std::chrono::steady_clock;

struct OsPipe {
    int fds[2] = {-1, -1};
    OsPipe() { EXPECT_EQ(pipe2(fds, O_CLOEXEC), 0); }
    ~OsPipe()
    {
        CloseRead();
        CloseWrite();
    }
    void CloseRead() { Close(fds[0]); }
    void CloseWrite() { Close(fds[1]); }
    void Fill() const
    {
        // As a parent that stops reading leaves it: no room at all.
        const int flags = fcntl(fds[1], F_GETFL);
        fcntl(fds[1], F_SETFL, flags | O_NONBLOCK);
        const std::string chunk(4096, 'f');
        while (write(fds[1], chunk.data(), chunk.size()) > 0) {
        }
        fcntl(fds[1], F_SETFL, flags);
    }

private:
    static void Close(int& fd)
    {
        if (fd >= 0)
            close(fd);
        fd = -1;
    }
};

Watch Within(std::chrono::milliseconds limit, std::function<bool()> keepWaiting = nullptr)
{
    return Watch{.interval = 10ms, .deadline = Clock::now() + limit, .keepWaiting = std::move(keepWaiting)};
}

// What the parent does on the helper's input while the helper reads 8 bytes.
struct ReadCase {
    const char* name;
    std::function<void(int writeEnd)> parent; // runs on its own thread
    std::chrono::milliseconds limit;
    std::function<bool()> keepWaiting;
    std::size_t expectedCount;
    GiveUp expectedEnd;
    std::chrono::milliseconds atLeast; // how long the read must have waited
};

TEST(WatchedPipe, ReadsEndAtTheirDeadlineTheParentsLossOrTheEndOfInput)
{
    std::atomic<int> asked{0};
    const ReadCase cases[] = {
        {"silent parent", [](int) {}, 300ms, [] { return true; }, 0, GiveUp::TimedOut, 300ms},
        {"three bytes then silence", [](int fd) { ASSERT_EQ(write(fd, "abc", 3), 3); }, 300ms, nullptr, 3,
         GiveUp::TimedOut, 300ms},
        {"parent lost at the third look", [](int) {}, 10s, [&asked] { return ++asked < 3; }, 0, GiveUp::ParentLost,
         25ms},
        {"bytes one at a time, late", [](int fd) {
             for (char c : std::string("12345678")) {
                 std::this_thread::sleep_for(30ms); // a slow parent, not a wait on the helper
                 ASSERT_EQ(write(fd, &c, 1), 1);
             }
         },
         5s, [] { return true; }, 8, GiveUp::No, 200ms},
        {"input ends early", [](int fd) { ASSERT_EQ(write(fd, "ab", 2), 2); }, 5s, nullptr, 2, GiveUp::No, 0ms},
    };
    for (const ReadCase& c : cases) {
        SCOPED_TRACE(c.name);
        asked = 0;
        OsPipe input;
        const auto from = Clock::now();
        const Pipe pipe = Pipe(input.fds[0], -1).Watched(Within(c.limit, c.keepWaiting));
        const bool closesInput = c.expectedEnd == GiveUp::No;
        std::thread parent([&] {
            c.parent(input.fds[1]);
            if (closesInput)
                input.CloseWrite();
        });
        char buffer[8] = {};
        EXPECT_EQ(pipe.Read(buffer, sizeof buffer), c.expectedCount);
        const auto took = Clock::now() - from;
        parent.join();
        EXPECT_EQ(pipe.GaveUp(), c.expectedEnd);
        EXPECT_GE(took, c.atLeast);
        EXPECT_LT(took, c.atLeast + 2s);
    }
}

// Bytes that keep trickling in must not keep the parent from being looked at.
TEST(WatchedPipe, TheParentIsWatchedWhileBytesTrickleIn)
{
    OsPipe input;
    std::atomic<bool> stop{false};
    std::thread parent([&] {
        while (!stop) {
            if (write(input.fds[1], "x", 1) != 1)
                break;
            std::this_thread::sleep_for(2ms);
        }
    });
    int asked = 0;
    const Pipe pipe = Pipe(input.fds[0], -1).Watched(Within(10s, [&asked] { return ++asked < 2; }));
    std::string buffer(1 << 20, '\0');
    const auto from = Clock::now();
    EXPECT_LT(pipe.Read(buffer.data(), buffer.size()), buffer.size());
    EXPECT_LT(Clock::now() - from, 2s);
    stop = true;
    input.CloseRead();
    parent.join();
    EXPECT_EQ(pipe.GaveUp(), GiveUp::ParentLost);
}

TEST(WatchedPipe, WritesToAFullPipeEndAtTheDeadlineOrTheParentsLoss)
{
    struct WriteCase {
        const char* name;
        std::chrono::milliseconds limit;
        std::function<bool()> keepWaiting;
        GiveUp expectedEnd;
    };
    const WriteCase cases[] = {
        {"reader alive but not reading", 300ms, [] { return true; }, GiveUp::TimedOut},
        {"parent lost", 10s, [] { return false; }, GiveUp::ParentLost},
    };
    for (const WriteCase& c : cases) {
        SCOPED_TRACE(c.name);
        OsPipe output;
        output.Fill();
        const Pipe pipe = Pipe(-1, output.fds[1]).Watched(Within(c.limit, c.keepWaiting));
        const auto from = Clock::now();
        EXPECT_FALSE(pipe.Write("XVTUI_dont_show_warning=true"));
        EXPECT_LT(Clock::now() - from, c.limit + 2s);
        EXPECT_EQ(pipe.GaveUp(), c.expectedEnd);
        // Given up for good: not even a write that has room goes out.
        output.CloseRead();
        EXPECT_FALSE(pipe.Write("x"));
    }
}

TEST(WatchedPipe, AWriteWaitsForAReaderThatDrainsTheFullPipe)
{
    OsPipe output;
    output.Fill();
    const std::string answer(100000, 'a'); // more than a pipe holds
    std::size_t drained = 0;
    std::thread reader([&] {
        std::this_thread::sleep_for(100ms); // the parent reads late
        char chunk[8192];
        ssize_t n;
        while ((n = read(output.fds[0], chunk, sizeof chunk)) > 0)
            drained += static_cast<std::size_t>(n);
    });
    const Pipe pipe = Pipe(-1, output.fds[1]).Watched(Within(10s, [] { return true; }));
    EXPECT_TRUE(pipe.Write(answer));
    EXPECT_EQ(pipe.GaveUp(), GiveUp::No);
    output.CloseWrite();
    reader.join();
    EXPECT_GE(drained, answer.size());
}

TEST(WatchedPipe, AWriteToAReaderThatIsGoneFails)
{
    OsPipe output;
    output.CloseRead();
    const Pipe pipe = Pipe(-1, output.fds[1]).Watched(Within(10s, [] { return true; }));
    EXPECT_FALSE(pipe.Write("ret=109"));
    EXPECT_EQ(pipe.GaveUp(), GiveUp::Failed);
}

} // namespace
