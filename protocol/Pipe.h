/*
 * Pipe: the helper's two streams to its parent, on descriptors handed in.
 *
 * The entry hands the dialogs standard input and output; tests hand in one
 * end of a socketpair. Reads and writes are whole: EINTR and short transfers
 * are retried, a descriptor the parent made non-blocking is waited on as a
 * blocking one would be, and a reader that is gone makes a write fail without
 * a SIGPIPE. The descriptors are borrowed, never closed.
 */
#ifndef XVTUI_PROTOCOL_PIPE_H
#define XVTUI_PROTOCOL_PIPE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace xvtui::protocol {

class Pipe {
public:
    Pipe(int in, int out) noexcept : m_in(in), m_out(out) {}
    // Standard input and standard output.
    static Pipe Standard() noexcept;

    int In() const noexcept { return m_in; }
    int Out() const noexcept { return m_out; }

    // Reads until `size` bytes have arrived, the input ends or fails; returns
    // how many arrived (all of them unless the input ended or failed).
    std::size_t Read(void* buffer, std::size_t size) const noexcept;
    // True when exactly `size` bytes were read.
    bool ReadExactly(void* buffer, std::size_t size) const noexcept { return Read(buffer, size) == size; }
    // A 32-bit word in host byte order; nothing when fewer than four bytes arrive.
    std::optional<std::uint32_t> ReadWord() const noexcept;

    // Writes every byte; false when the reader is gone or the write failed.
    bool Write(const void* data, std::size_t size) const noexcept;
    bool Write(std::string_view bytes) const noexcept { return Write(bytes.data(), bytes.size()); }
    bool WriteWord(std::uint32_t word) const noexcept { return Write(&word, sizeof word); }

private:
    int m_in;
    int m_out;
};

} // namespace xvtui::protocol

#endif
