#include "protocol/RandomStep.h"

#include <algorithm>
#include <cmath>
#include <limits>


namespace xvtui::protocol {
namespace {

template <class T>
void Put(unsigned char*& at, T value)
{
    std::memcpy(at, &value, sizeof value);
    at += sizeof value;
}

template <class T>
T Take(const unsigned char*& at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    at += sizeof value;
    return value;
}

} // namespace

std::int32_t RoundCoordinate(double value)
{
    if (std::isnan(value))
        return 0;
    const double rounded = std::round(value); // halves away from zero
    if (rounded <= static_cast<double>(std::numeric_limits<std::int32_t>::min()))
        return std::numeric_limits<std::int32_t>::min();
    if (rounded >= static_cast<double>(std::numeric_limits<std::int32_t>::max()))
        return std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(rounded);
}

StepEvent MotionStep(std::uint32_t time, double x, double y)
{
    return {static_cast<std::uint64_t>(StepKind::Motion), time, RoundCoordinate(x), RoundCoordinate(y)};
}

StepEvent KeyStep(std::uint32_t time)
{
    return {static_cast<std::uint64_t>(StepKind::Key), time, 0, 0};
}

std::array<unsigned char, kStepMessageSize> EncodeStep(const StepEvent& event)
{
    std::array<unsigned char, kStepMessageSize> bytes{};
    unsigned char* at = bytes.data();
    Put(at, kStepMark);
    Put(at, event.kind);
    Put(at, event.time);
    Put(at, event.x);
    Put(at, event.y);
    return bytes;
}

std::optional<StepEvent> DecodeStep(std::span<const unsigned char, kStepMessageSize> bytes)
{
    const unsigned char* at = bytes.data();
    if (Take<unsigned char>(at) != kStepMark)
        return std::nullopt;
    StepEvent event;
    event.kind = Take<std::uint64_t>(at);
    event.time = Take<std::uint32_t>(at);
    event.x = Take<std::int32_t>(at);
    event.y = Take<std::int32_t>(at);
    return event;
}

std::uint32_t AnnouncedMark(const unsigned char* block)
{
    std::uint32_t value;
    std::memcpy(&value, block + record::kAnnounced, sizeof value);
    return value;
}

void SetAnnouncedMark(unsigned char* block, std::uint32_t value)
{
    std::memcpy(block + record::kAnnounced, &value, sizeof value);
}

std::array<unsigned char, kStepReplySize> EncodeReply(std::uint32_t status, const StateRecord& state)
{
    std::array<unsigned char, kStepReplySize> bytes{};
    std::memcpy(bytes.data(), &status, sizeof status);
    std::memcpy(bytes.data() + sizeof status, state.Data(), kStateRecordSize);
    return bytes;
}

std::size_t ReadWatched(const Pipe& pipe, void* buffer, std::size_t size, std::chrono::milliseconds interval,
                        const KeepWaiting& keepWaiting)
{
    return pipe.Watched(Watch{.interval = interval, .keepWaiting = keepWaiting}).ReadSome(buffer, size);
}

bool SendStep(const Pipe& pipe, const StepEvent& event)
{
    // One write per field: the parent reads them as such.
    bool sent = pipe.Write(&kStepMark, sizeof kStepMark);
    sent = pipe.Write(&event.kind, sizeof event.kind) && sent;
    sent = pipe.Write(&event.time, sizeof event.time) && sent;
    sent = pipe.Write(&event.x, sizeof event.x) && sent;
    sent = pipe.Write(&event.y, sizeof event.y) && sent;
    return sent;
}

std::uint32_t ReceiveReply(const Pipe& pipe, StateRecord& state, unsigned char* privateBlock,
                           std::chrono::milliseconds interval, const KeepWaiting& keepWaiting)
{
    return ReceiveReply(pipe.Watched(Watch{.interval = interval, .keepWaiting = keepWaiting}), state, privateBlock);
}

std::uint32_t ReceiveReply(const Pipe& pipe, StateRecord& state, unsigned char* privateBlock)
{
    // Two reads, as the parent's two pieces: a reply cut short ends its read
    // with what came, and the next step follows instead of waiting for the
    // rest. The status bytes that did not come count as 0.
    std::array<unsigned char, sizeof(std::uint32_t)> statusBytes{};
    const std::size_t got = pipe.ReadSome(statusBytes.data(), statusBytes.size());
    std::uint32_t status = 0;
    std::memcpy(&status, statusBytes.data(), sizeof status);
    if (got > 0)
        pipe.ReadSome(state.Data(), kStateRecordSize);
    state.AttachPrivateBlock(privateBlock);
    return status;
}

} // namespace xvtui::protocol
