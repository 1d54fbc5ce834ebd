// The pipe helper over socketpairs and pipes: whole reads and writes, the end
// of input, non-blocking descriptors and a reader that is gone.
#include "protocol/Pipe.h"

#include <gtest/gtest.h>

#include "SocketPair.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using xvtui::protocol::Pipe;

TEST(Pipe, ReadsWholeRecordsFromPiecesAndReportsTheEnd)
{
    SocketPair pair;
    const Pipe pipe(pair.ends[0], pair.ends[0]);
    std::thread writer([&] {
        // A word in three pieces, then five bytes of a ten-byte record.
        const std::uint32_t word = 0x01020304;
        const char* bytes = reinterpret_cast<const char*>(&word);
        for (int i = 0; i < 3; ++i) {
            ASSERT_GT(write(pair.ends[1], bytes + i, i == 2 ? 2 : 1), 0);
            std::this_thread::yield();
        }
        ASSERT_EQ(write(pair.ends[1], "abcde", 5), 5);
        pair.Close(1);
    });
    EXPECT_EQ(pipe.ReadWord(), 0x01020304u);
    char record[10] = {};
    EXPECT_EQ(pipe.Read(record, sizeof record), 5u);
    EXPECT_EQ(std::string(record, 5), "abcde");
    EXPECT_EQ(pipe.ReadWord(), std::nullopt);
    writer.join();
}

TEST(Pipe, NonBlockingDescriptorsAreWaitedOn)
{
    SocketPair pair;
    fcntl(pair.ends[0], F_SETFL, fcntl(pair.ends[0], F_GETFL) | O_NONBLOCK);
    const Pipe pipe(pair.ends[0], pair.ends[0]);
    // More than a socket buffer holds, read by a slow peer that echoes nothing back.
    const std::string big(1 << 20, 'x');
    std::size_t received = 0;
    std::thread reader([&] {
        char chunk[4096];
        ssize_t n;
        while ((n = read(pair.ends[1], chunk, sizeof chunk)) > 0)
            received += static_cast<std::size_t>(n);
    });
    EXPECT_TRUE(pipe.Write(big));
    shutdown(pair.ends[0], SHUT_WR);
    reader.join();
    EXPECT_EQ(received, big.size());

    // Nothing there yet: the read waits instead of failing with EAGAIN.
    std::thread late([&] { EXPECT_EQ(write(pair.ends[1], "\x2a\0\0\0", 4), 4); });
    EXPECT_EQ(pipe.ReadWord(), 42u);
    late.join();
}

TEST(Pipe, AWriteToAReaderThatIsGoneFailsWithoutSigpipe)
{
    // The default disposition would end this test process; the write must not.
    struct sigaction old {};
    struct sigaction dfl {};
    dfl.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &dfl, &old);
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    close(fds[0]);
    const Pipe out(-1, fds[1]);
    EXPECT_FALSE(out.Write("ret=109"));
    EXPECT_FALSE(out.WriteWord(1));
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    close(fds[1]);
    sigaction(SIGPIPE, &old, nullptr);

    const Pipe closed(-1, -1);
    char byte;
    EXPECT_EQ(closed.Read(&byte, 1), 0u);
    EXPECT_FALSE(closed.Write("x"));
}

} // namespace
