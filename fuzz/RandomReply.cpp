// The random-data dialog's side of the exchange: replies of any length and
// content, read one after another as the dialog reads them after each step,
// then used as the dialog uses the record. Whatever came, the record's first
// 8 bytes point at the helper's own block again (the dialog writes through
// that pointer), and the bytes the helper does not own are the parent's.
#include "FuzzInput.h"

#include "protocol/RandomStep.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace xvtui::protocol;
    static fuzz::MemoryFile input;
    const Pipe pipe(input.Fill(data, size), -1);

    unsigned char block[kPrivateBlockSize] = {};
    StateRecord record;
    // The first record, as the dialog reads it before its window shows.
    const std::size_t first = pipe.Read(record.Data(), kStateRecordSize);
    record.AttachPrivateBlock(block);
    std::size_t consumed = first;

    while (consumed < size) {
        const std::uint32_t status = ReceiveReply(pipe, record, block, std::chrono::milliseconds(1), [] { return true; });
        const std::size_t got = std::min(size - consumed, kStepReplySize);
        // Status bytes that did not come count as 0.
        std::uint32_t sent = 0;
        std::memcpy(&sent, data + consumed, std::min(got, sizeof sent));
        fuzz::Check(status == sent);
        if (got > sizeof status + sizeof(void*))
            fuzz::Check(std::memcmp(record.Data() + sizeof(void*), data + consumed + sizeof status + sizeof(void*),
                                    got - sizeof status - sizeof(void*)) == 0);
        consumed += got;
        fuzz::Check(record.PrivateBlock() == block);

        // What the dialog does with it: the bar, the announcement, the prompt.
        const double fraction = record.Fraction();
        if (!std::isnan(fraction))
            fuzz::Check(std::clamp(fraction, 0.0, 1.0) >= 0.0);
        if (record.MoreSteps()) {
            record.SetMoreSteps(false);
            SetAnnouncedMark(record.PrivateBlock(), 1);
        }
        fuzz::Check(AnnouncedMark(block) == 0 || AnnouncedMark(block) == 1);
        (void)record.Direction();
        (void)record.PromptCounter();
        if (status != 0)
            break;
    }

    // The same bytes as a step message from a peer.
    if (size >= kStepMessageSize) {
        const std::optional<StepEvent> step = DecodeStep(std::span<const unsigned char, kStepMessageSize>(data, kStepMessageSize));
        fuzz::Check(step.has_value() == (data[0] == kStepMark));
        if (step)
            fuzz::Check(std::memcmp(EncodeStep(*step).data(), data, kStepMessageSize) == 0);
    }
    return 0;
}
