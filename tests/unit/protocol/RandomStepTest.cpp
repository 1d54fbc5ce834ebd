// The random-data exchange's bytes: the step message, the rounding of
// coordinates, the state record's fields and the helper's private block.
#include "protocol/RandomStep.h"

#include <gtest/gtest.h>

#include "SocketPair.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace xvtui::protocol;
using namespace std::chrono_literals;

TEST(RandomStep, MessageLayout)
{
    const auto bytes = EncodeStep(MotionStep(0x01020304, -2.0, 7.0));
    const std::vector<unsigned char> expected = {'c', 8, 0, 0, 0, 0, 0, 0, 0, 4, 3, 2, 1,
                                                 0xfe, 0xff, 0xff, 0xff, 7, 0, 0, 0};
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin(), bytes.end()), expected);
    EXPECT_EQ(DecodeStep(bytes), MotionStep(0x01020304, -2, 7));

    auto wrongMark = bytes;
    wrongMark[0] = 'r';
    EXPECT_EQ(DecodeStep(wrongMark), std::nullopt);
}

TEST(RandomStep, CoordinatesRoundHalvesAwayFromZero)
{
    const struct {
        double in;
        std::int32_t out;
    } cases[] = {
        {10.5, 11},
        {-2.5, -3},
        {10.49, 10},
        {-0.4, 0},
        {1e12, std::numeric_limits<std::int32_t>::max()},
        {-1e12, std::numeric_limits<std::int32_t>::min()},
        {std::nan(""), 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RoundCoordinate(c.in), c.out) << c.in;
}

// Fields land where the parent's structure has them; every other byte stays.
TEST(RandomStep, RecordFieldsAtTheirOffsets)
{
    StateRecord::Bytes raw;
    for (size_t i = 0; i < raw.size(); ++i)
        raw[i] = static_cast<unsigned char>(0x80 | (i & 0x7f));
    StateRecord state(raw);
    state.SetGathered(0x1112131415161718);
    state.SetNeeded(0x2122232425262728);
    state.SetMoreSteps(true);
    state.SetDirection(-1);
    state.SetPromptsEnabled(true);
    state.SetPromptCounter(0x31323334);

    const auto at = [&](size_t offset, size_t width) {
        return std::vector<unsigned char>(state.Data() + offset, state.Data() + offset + width);
    };
    EXPECT_EQ(at(16, 8), (std::vector<unsigned char>{0x18, 0x17, 0x16, 0x15, 0x14, 0x13, 0x12, 0x11}));
    EXPECT_EQ(at(24, 8), (std::vector<unsigned char>{0x28, 0x27, 0x26, 0x25, 0x24, 0x23, 0x22, 0x21}));
    EXPECT_EQ(at(112, 1), std::vector<unsigned char>{1});
    EXPECT_EQ(at(132, 4), (std::vector<unsigned char>{0xff, 0xff, 0xff, 0xff}));
    EXPECT_EQ(at(140, 1), std::vector<unsigned char>{1});
    EXPECT_EQ(at(144, 4), (std::vector<unsigned char>{0x34, 0x33, 0x32, 0x31}));
    size_t changed = 0;
    for (size_t i = 0; i < raw.size(); ++i)
        changed += state.Raw()[i] != raw[i];
    EXPECT_EQ(changed, 8u + 8u + 1u + 4u + 1u + 4u);
}

// The step goes out as five writes, so a parent may read it piece by piece;
// the reply is read over the record and the private block's pointer put back.
TEST(RandomStep, ExchangeRestoresThePrivateBlock)
{
    SocketPair pair;
    const Pipe helper(pair.ends[0], pair.ends[0]);
    std::array<unsigned char, kPrivateBlockSize> block{};
    StateRecord state;
    state.AttachPrivateBlock(block.data());

    ASSERT_TRUE(SendStep(helper, KeyStep(77)));
    const std::vector<unsigned char> sent = pair.Drain();
    ASSERT_EQ(sent.size(), kStepMessageSize);
    EXPECT_EQ(DecodeStep(std::span<const unsigned char, kStepMessageSize>(sent.data(), kStepMessageSize)),
              KeyStep(77));

    StateRecord parents;
    parents.SetGathered(5);
    parents.SetNeeded(10);
    std::memset(parents.Data(), 0xEE, 8); // the parent's own pointer
    const auto reply = EncodeReply(3, parents);
    ASSERT_EQ(write(pair.ends[1], reply.data(), reply.size()), static_cast<ssize_t>(reply.size()));
    EXPECT_EQ(ReceiveReply(helper, state, block.data(), 10ms, nullptr), 3u);
    EXPECT_EQ(state.PrivateBlock(), block.data());
    EXPECT_EQ(state.Fraction(), 0.5);
    EXPECT_TRUE(std::equal(state.Raw().begin() + 8, state.Raw().end(), parents.Raw().begin() + 8));
}

// A reply cut short: status bytes that did not come count as 0, and the
// record's bytes that did not come stay as they were.
TEST(RandomStep, ShortRepliesKeepTheOldRecord)
{
    const struct {
        const char* name;
        size_t bytes; // of the 156-byte reply
        std::uint32_t status;
        std::uint64_t gathered;
        std::uint64_t needed;
    } cases[] = {
        {"nothing", 0, 0, 1, 2},
        {"half a status", 2, 9, 1, 2},
        {"status and the first 20 bytes", 4 + 20, 9, 7, 2},
        {"everything", kStepReplySize, 9, 7, 8},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SocketPair pair;
        std::array<unsigned char, kPrivateBlockSize> block{};
        StateRecord state;
        state.SetGathered(1);
        state.SetNeeded(2);
        StateRecord parents;
        parents.SetGathered(7);
        parents.SetNeeded(8);
        const auto reply = EncodeReply(9, parents);
        ASSERT_EQ(write(pair.ends[1], reply.data(), c.bytes), static_cast<ssize_t>(c.bytes));
        pair.Close(1);
        EXPECT_EQ(ReceiveReply(Pipe(pair.ends[0], pair.ends[0]), state, block.data(), 10ms, nullptr), c.status);
        EXPECT_EQ(state.Gathered(), c.gathered);
        EXPECT_EQ(state.Needed(), c.needed);
        EXPECT_EQ(state.PrivateBlock(), block.data());
    }
}

// A read takes what has arrived and does not wait for the rest; with
// nothing there and the pipe open it asks whether to go on, and gives up
// with nothing when told so.
TEST(RandomStep, WatchedReadTakesWhatCame)
{
    for (const std::string sent : {"", "ab"}) {
        SCOPED_TRACE(sent);
        SocketPair pair;
        ASSERT_EQ(write(pair.ends[1], sent.data(), sent.size()), static_cast<ssize_t>(sent.size()));
        int asked = 0;
        char buffer[8] = {};
        const size_t got = ReadWatched(Pipe(pair.ends[0], pair.ends[0]), buffer, sizeof buffer, 5ms,
                                       [&asked] { return ++asked < 3; });
        EXPECT_EQ(std::string(buffer, got), sent);
        EXPECT_EQ(asked, sent.empty() ? 3 : 0);
    }
}

} // namespace
