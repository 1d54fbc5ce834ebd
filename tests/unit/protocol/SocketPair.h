// A connected socketpair standing in for the parent's pipes: end 0 is the
// helper's, end 1 the parent's. Both ends close with the object.
#pragma once

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>
#include <vector>

struct SocketPair {
    int ends[2] = {-1, -1};
    SocketPair() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
    ~SocketPair()
    {
        for (int fd : ends)
            if (fd >= 0)
                close(fd);
    }
    SocketPair(const SocketPair&) = delete;
    SocketPair& operator=(const SocketPair&) = delete;
    void Close(int i)
    {
        close(ends[i]);
        ends[i] = -1;
    }
    // What arrived at end 1 so far.
    std::vector<unsigned char> Drain() const
    {
        std::vector<unsigned char> bytes(256);
        const ssize_t n = recv(ends[1], bytes.data(), bytes.size(), MSG_DONTWAIT);
        bytes.resize(n > 0 ? static_cast<size_t>(n) : 0);
        return bytes;
    }
};
