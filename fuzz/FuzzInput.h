// FuzzInput.h: what the fuzz targets share. Each target defines
// LLVMFuzzerTestOneInput; with clang it is linked with libFuzzer, with any
// other compiler with ReplayMain.cpp, which runs a corpus once.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace fuzz {

// A finding: abort, so that libFuzzer keeps the input and the replay fails.
inline void Check(bool condition)
{
    if (!condition)
        std::abort();
}

// The input cut at every zero byte: one text per piece, the last one too.
inline std::vector<std::string> Split(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::string> pieces(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0)
            pieces.emplace_back();
        else
            pieces.back().push_back(static_cast<char>(data[i]));
    }
    return pieces;
}

// An in-memory file holding the input, read from its start: a descriptor that
// never blocks and ends where the input ends, as a parent's pipe does after
// the parent closed it.
class MemoryFile {
public:
    MemoryFile() : m_fd(memfd_create("fuzz-input", MFD_CLOEXEC)) { Check(m_fd >= 0); }
    ~MemoryFile() { ::close(m_fd); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int Fill(const std::uint8_t* data, std::size_t size)
    {
        Check(ftruncate(m_fd, 0) == 0);
        Check(size == 0 || pwrite(m_fd, data, size, 0) == static_cast<ssize_t>(size));
        Check(lseek(m_fd, 0, SEEK_SET) == 0);
        return m_fd;
    }
    int Fd() const { return m_fd; }

private:
    int m_fd;
};

} // namespace fuzz
