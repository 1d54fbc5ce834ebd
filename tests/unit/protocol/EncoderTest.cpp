// The answers as the helper writes them, byte for byte, and the check-box
// control words as the one-entry dialog reads and applies them.
#include "protocol/CheckBoxWord.h"
#include "protocol/MessageRequest.h"
#include "protocol/PasswordRequest.h"
#include "protocol/Word.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace xvtui::protocol;

// Keys inside a password stay as they are: the password runs to the end.
TEST(Encoder, AnswersByteForByte)
{
    const std::string binary("\0\xFF" "a", 3);
    const struct {
        secure::String answer;
        std::string expected;
    } cases[] = {
        {EncodeMessageAnswer(true), "XVTUI_dont_show_warning=true"},
        {EncodeMessageAnswer(false), "XVTUI_dont_show_warning=false"},
        {EncodeOneEntryAnswer(true, false, "1234"), "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=1234"},
        {EncodeOneEntryAnswer(false, true, ""), "XVTUI_save_passwd=falseXVTUI_dont_cache=trueXVTUI_passwd="},
        {EncodeTwoEntryAnswer("aXVTUI_passwd=b"), "XVTUI_passwd=aXVTUI_passwd=b"},
        {EncodeTwoEntryAnswer(binary), "XVTUI_passwd=" + binary},
        {EncodeThreeEntryAnswer("0ld", "n3w"), "XVTUI_old_passwd=0ldXVTUI_passwd=n3w"},
        {EncodeThreeEntryAnswer("", ""), "XVTUI_old_passwd=XVTUI_passwd="},
    };
    for (const auto& c : cases)
        EXPECT_EQ(std::string(c.answer.view()), c.expected);
}

TEST(CheckBoxWord, BitsAndTheRule)
{
    const struct {
        std::uint32_t word;
        bool hide;
        bool insensitive;
        bool active;
    } cases[] = {
        {0, true, false, false},  {6, true, false, false}, // without the visible bit nothing else counts
        {1, false, true, false},  {3, false, false, false}, {5, false, true, true},
        {7, false, false, true},  {0xFFFFFFF8 | 3, false, false, false}, // other bits are ignored
    };
    for (const auto& c : cases) {
        const CheckBoxState state = DecodeCheckBoxWord(c.word);
        EXPECT_EQ(state.hide, c.hide) << c.word;
        EXPECT_EQ(state.insensitive, c.insensitive) << c.word;
        EXPECT_EQ(state.active, c.active) << c.word;
    }
}

// Each read(2) of a packet socket returns one packet: words come in pieces,
// the second one cut short.
TEST(CheckBoxWord, ReadCompletesShortReadsElseZero)
{
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, fds), 0);
    const std::vector<std::vector<unsigned char>> packets = {{0x07}, {0x01, 0x00}, {0x00}, {0x05}, {0x00}};
    for (const auto& packet : packets)
        ASSERT_EQ(write(fds[1], packet.data(), packet.size()), static_cast<ssize_t>(packet.size()));
    close(fds[1]);
    const CheckBoxWords words = ReadCheckBoxWords(Pipe(fds[0], -1));
    EXPECT_EQ(words.savePassword, 0x107u);
    EXPECT_EQ(words.dontCache, 0u);
    close(fds[0]);
    EXPECT_EQ(ReadCheckBoxWords(Pipe(-1, -1)).savePassword, 0u);
}

// What the parent writes is what the dialog reads.
TEST(CheckBoxWord, WordsRoundTrip)
{
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    secure::String payload;
    AppendWord(payload, 0x80000005u);
    AppendWord(payload, 3);
    ASSERT_EQ(write(fds[1], payload.data(), payload.size()), 8);
    const CheckBoxWords words = ReadCheckBoxWords(Pipe(fds[0], -1));
    EXPECT_EQ(words.savePassword, 0x80000005u);
    EXPECT_EQ(words.dontCache, 3u);
    close(fds[0]);
    close(fds[1]);
}

} // namespace
