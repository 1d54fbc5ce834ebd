/*
 * Pipe: the helper's two streams to its parent, on descriptors handed in.
 *
 * The entry hands the dialogs standard input and output; tests hand in one
 * end of a socketpair. Reads and writes are whole: EINTR and short transfers
 * are retried, a descriptor the parent made non-blocking is waited on as a
 * blocking one would be, and a reader that is gone makes a write fail without
 * a SIGPIPE. The descriptors are borrowed, never closed.
 *
 * A watched pipe (Watched) never waits without an end: while a read waits for
 * bytes or a write for room it asks the watch's callback about every
 * `interval` whether the parent is still there, and gives up at the watch's
 * deadline. Bytes that come in small pieces or late are still taken whole
 * before the deadline. Once a watched pipe has given up, it stays given up:
 * later reads and writes on it (and its copies) transfer nothing, and
 * GaveUp() tells why.
 */
#ifndef XVTUI_PROTOCOL_PIPE_H
#define XVTUI_PROTOCOL_PIPE_H

#include <cstddef>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace xvtui::protocol {

// Asked while a transfer waits for the parent: false gives the wait up (the
// parent is gone while its pipe stays open).
using KeepWaiting = std::function<bool()>;

struct Watch {
    std::chrono::milliseconds interval{100};
    // No wait goes on past it.
    std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max();
    KeepWaiting keepWaiting; // empty: the parent is not watched
};

// Why a watched pipe gave up.
enum class GiveUp {
    No,         // every transfer ended with all its bytes, or at the end of input
    ParentLost, // the watch's callback said no
    TimedOut,   // the deadline passed
    Failed,     // the descriptor failed (the reader of the output is gone)
};

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
    // One read, as on a blocking pipe: waits until something arrives and
    // takes what has arrived, up to `size` bytes (0 at the end of the input).
    std::size_t ReadSome(void* buffer, std::size_t size) const noexcept;
    // A 32-bit word in host byte order; nothing when fewer than four bytes arrive.
    std::optional<std::uint32_t> ReadWord() const noexcept;

    // Writes every byte; false when the reader is gone or the write failed.
    bool Write(const void* data, std::size_t size) const noexcept;
    bool Write(std::string_view bytes) const noexcept { return Write(bytes.data(), bytes.size()); }
    bool WriteWord(std::uint32_t word) const noexcept { return Write(&word, sizeof word); }

    // The same descriptors under `watch` (see above).
    Pipe Watched(Watch watch) const;
    // Why the watched pipe gave up; GiveUp::No for a pipe without a watch.
    GiveUp GaveUp() const noexcept;

private:
    struct WatchState;

    std::size_t ReadWatched(unsigned char* bytes, std::size_t size) const noexcept;
    bool WriteWatched(const unsigned char* bytes, std::size_t size) const noexcept;
    // Waits until `fd` is ready for `events` under the watch; false once given up.
    bool Await(int fd, short events) const noexcept;

    int m_in;
    int m_out;
    std::shared_ptr<WatchState> m_watch; // shared by the copies
};

} // namespace xvtui::protocol

#endif
