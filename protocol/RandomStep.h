/*
 * RandomStep: the lock-step exchange of the random-data dialog ("VTRndmBio").
 *
 * The parent starts the helper and writes its 152-byte state record. Then, for
 * every mouse motion or key press, the helper writes one 21-byte step message
 * and waits for the reply: a 32-bit status (non-zero: enough is gathered) and
 * the whole state record again. All numbers are host byte order.
 *
 *   step message: 'c' | kind (u64: 8 motion, 1 key) | time (u32, ms of the
 *                 windowing system) | x (i32) | y (i32); a key sends 0, 0
 *   reply:        status (u32) | state record (152 bytes)
 *
 * The state record is the parent's structure; the helper reads only the fields
 * below and keeps every other byte as it came. Its first 8 bytes hold a pointer
 * of the parent's, meaningless here: the helper puts in their place a pointer
 * to its own 80-byte block (zero-filled at start) after every refresh.
 */
#ifndef XVTUI_PROTOCOL_RANDOMSTEP_H
#define XVTUI_PROTOCOL_RANDOMSTEP_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <span>

#include "protocol/Pipe.h"

namespace xvtui::protocol {

inline constexpr std::size_t kStepMessageSize = 21;
inline constexpr std::size_t kStateRecordSize = 152;
inline constexpr std::size_t kStepReplySize = 4 + kStateRecordSize;
inline constexpr std::size_t kPrivateBlockSize = 80;
// The first byte of every step message.
inline constexpr unsigned char kStepMark = 'c';

enum class StepKind : std::uint64_t {
    Key = 1,
    Motion = 8,
};

// The fields of the state record the helper reads, as byte offsets.
namespace record {
inline constexpr std::size_t kPrivateBlock = 0; // 8: pointer, replaced by the helper's own
inline constexpr std::size_t kGathered = 16;    // u64: units gathered so far
inline constexpr std::size_t kNeeded = 24;      // u64: units needed in all
inline constexpr std::size_t kMoreSteps = 112;  // u8: more steps are needed
inline constexpr std::size_t kDirection = 132;  // i32: 1 right, -1 left, anything else none
inline constexpr std::size_t kPrompts = 140;    // u8: direction prompts enabled
inline constexpr std::size_t kCounter = 144;    // u32: prompts show only while above 2
// In the helper's private block: non-zero once more steps were announced.
inline constexpr std::size_t kAnnounced = 64; // u32
} // namespace record

static_assert(record::kPrivateBlock + sizeof(void*) <= record::kGathered);
static_assert(record::kGathered + 8 <= record::kNeeded && record::kNeeded + 8 <= record::kMoreSteps);
static_assert(record::kMoreSteps + 1 <= record::kDirection && record::kDirection + 4 <= record::kPrompts);
static_assert(record::kPrompts + 1 <= record::kCounter && record::kCounter + 4 <= kStateRecordSize);
static_assert(record::kGathered % 8 == 0 && record::kNeeded % 8 == 0 && record::kDirection % 4 == 0 &&
              record::kCounter % 4 == 0, "the parent's structure keeps its fields aligned");
static_assert(record::kAnnounced + 4 <= kPrivateBlockSize);
static_assert(sizeof(void*) == 8, "the record carries a 64-bit pointer");

// One mouse motion or key press, as the step message carries it.
struct StepEvent {
    std::uint64_t kind = 0; // a StepKind, or anything a peer sent
    std::uint32_t time = 0;
    std::int32_t x = 0;
    std::int32_t y = 0;

    bool operator==(const StepEvent&) const = default;
};

// A motion at window position (x, y): coordinates rounded to nearest, halves
// away from zero, and held within 32 bits (not a number gives 0).
StepEvent MotionStep(std::uint32_t time, double x, double y);
StepEvent KeyStep(std::uint32_t time);
std::int32_t RoundCoordinate(double value);

// The 21 bytes of a step message; and back (nothing when the mark is wrong).
std::array<unsigned char, kStepMessageSize> EncodeStep(const StepEvent& event);
std::optional<StepEvent> DecodeStep(std::span<const unsigned char, kStepMessageSize> bytes);

// The parent's state record: 152 bytes, with accessors for the fields above.
// Accessors copy bytes, so the block needs no alignment.
class StateRecord {
public:
    using Bytes = std::array<unsigned char, kStateRecordSize>;

    StateRecord() : m_bytes{} {}
    explicit StateRecord(const Bytes& bytes) : m_bytes(bytes) {}

    unsigned char* Data() { return m_bytes.data(); }
    const unsigned char* Data() const { return m_bytes.data(); }
    const Bytes& Raw() const { return m_bytes; }

    std::uint64_t Gathered() const { return Get<std::uint64_t>(record::kGathered); }
    std::uint64_t Needed() const { return Get<std::uint64_t>(record::kNeeded); }
    bool MoreSteps() const { return m_bytes[record::kMoreSteps] != 0; }
    std::int32_t Direction() const { return Get<std::int32_t>(record::kDirection); }
    bool PromptsEnabled() const { return m_bytes[record::kPrompts] != 0; }
    std::uint32_t PromptCounter() const { return Get<std::uint32_t>(record::kCounter); }

    void SetGathered(std::uint64_t value) { Set(record::kGathered, value); }
    void SetNeeded(std::uint64_t value) { Set(record::kNeeded, value); }
    void SetMoreSteps(bool value) { m_bytes[record::kMoreSteps] = value ? 1 : 0; }
    void SetDirection(std::int32_t value) { Set(record::kDirection, value); }
    void SetPromptsEnabled(bool value) { m_bytes[record::kPrompts] = value ? 1 : 0; }
    void SetPromptCounter(std::uint32_t value) { Set(record::kCounter, value); }

    // gathered / needed, both as double; needed 0 gives infinity or not a number.
    double Fraction() const { return static_cast<double>(Gathered()) / static_cast<double>(Needed()); }

    // The block whose address the first 8 bytes hold (see above).
    unsigned char* PrivateBlock() const { return Get<unsigned char*>(record::kPrivateBlock); }
    void AttachPrivateBlock(unsigned char* block) { Set(record::kPrivateBlock, block); }

private:
    template <class T>
    T Get(std::size_t offset) const
    {
        T value;
        std::memcpy(&value, m_bytes.data() + offset, sizeof value);
        return value;
    }
    template <class T>
    void Set(std::size_t offset, T value)
    {
        std::memcpy(m_bytes.data() + offset, &value, sizeof value);
    }

    Bytes m_bytes;
};

// The announced mark of the helper's private block.
std::uint32_t AnnouncedMark(const unsigned char* block);
void SetAnnouncedMark(unsigned char* block, std::uint32_t value);

// The parent's reply: status, then the record.
std::array<unsigned char, kStepReplySize> EncodeReply(std::uint32_t status, const StateRecord& state);

// The helper's side. One read of up to `size` bytes, as on a blocking pipe:
// waits until something arrives and takes what has arrived (0 at the end of
// the input). While nothing arrives it asks `keepWaiting` every `interval`,
// and gives up with 0 once it says no (the parent is gone while its pipe
// stays open): Pipe::ReadSome on a pipe watched without a deadline.
std::size_t ReadWatched(const Pipe& pipe, void* buffer, std::size_t size, std::chrono::milliseconds interval,
                        const KeepWaiting& keepWaiting);

// Writes a step message, each field in its own write; false when a write failed.
bool SendStep(const Pipe& pipe, const StepEvent& event);

// Reads a reply over `state`, each part in one ReadWatched: the status (bytes
// that do not come count as 0), then the record straight over the old one (a
// short read leaves the rest as it was); then puts `privateBlock` back into
// the record's first 8 bytes.
std::uint32_t ReceiveReply(const Pipe& pipe, StateRecord& state, unsigned char* privateBlock,
                           std::chrono::milliseconds interval, const KeepWaiting& keepWaiting);
// The same on `pipe` as it is, each part one Pipe::ReadSome (a watched pipe:
// Pipe::Watched).
std::uint32_t ReceiveReply(const Pipe& pipe, StateRecord& state, unsigned char* privateBlock);

} // namespace xvtui::protocol

#endif
