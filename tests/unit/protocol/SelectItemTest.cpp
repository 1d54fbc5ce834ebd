// The container record: reading the count and records whole from input that
// may end anywhere, and the clipped, zero-terminated answer.
#include "protocol/SelectItem.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace xvtui::protocol;

std::string Word(std::uint32_t word)
{
    return std::string(reinterpret_cast<const char*>(&word), sizeof word);
}

// A record whose every byte is set: names without a zero, reserved included.
std::string Record(char fill)
{
    std::string bytes(kSelectItemSize, fill);
    bytes[10] = '\0'; // friendly name "ffffffffff"
    return bytes;
}

// Reads the records the bytes carry, the writer closing after the last byte.
std::deque<VTUISelectItem_> ReadFrom(const std::string& bytes)
{
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    std::thread writer([&] {
        EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(ends[1]);
    });
    auto items = ReadSelectItems(Pipe(ends[0], ends[0]));
    writer.join();
    close(ends[0]);
    return items;
}

TEST(SelectItem, TheListEndsWhereTheInputEnds)
{
    const std::string a = Record('a'), b = Record('b');
    const struct {
        const char* what;
        std::string input;
        std::string rows; // first byte of each record read
    } cases[] = {
        {"no input", "", ""},
        {"half a count", "\2\0", ""},
        {"no records", Word(0), ""},
        {"count met", Word(2) + a + b, "ab"},
        {"records beyond the count are left", Word(1) + a + b, "a"},
        {"fewer than counted", Word(3) + a + b, "ab"},
        {"half a record", Word(2) + a + b.substr(0, 769), "a"},
        {"the largest count", Word(0xFFFFFFFFu) + a + b, "ab"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto items = ReadFrom(c.input);
        std::string rows;
        for (const VTUISelectItem_& item : items)
            rows += item.friendly_name[0];
        EXPECT_EQ(rows, c.rows);
    }
}

TEST(SelectItem, RecordsArriveByteForByte)
{
    std::string record = Record('p');
    record[1536] = '\x7f';
    record[1537] = '\x80';
    const auto items = ReadFrom(Word(1) + record);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(std::memcmp(&items[0], record.data(), kSelectItemSize), 0);
    EXPECT_EQ(FieldText(items[0].friendly_name), std::string(10, 'p'));
    // No zero in the field: the text is the whole field, never beyond it.
    EXPECT_EQ(FieldText(items[0].unique_name), std::string(512, 'p'));
}

TEST(SelectItem, AnswerTextsAreClippedAndTerminated)
{
    const struct {
        size_t friendlyLength, primaryLength; // sent
        size_t friendlyKept, primaryKept;
    } cases[] = {
        {0, 0, 0, 0},
        {255, 767, 255, 767},
        {256, 768, 255, 767},
        {1000, 5000, 255, 767},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.friendlyLength);
        const VTUISelectItem_ answer = SelectAnswer(std::string(c.friendlyLength, 'f'), std::string(c.primaryLength, 'p'));
        std::string expected(kSelectItemSize, '\0');
        expected.replace(0, c.friendlyKept, c.friendlyKept, 'f');
        expected.replace(768, c.primaryKept, c.primaryKept, 'p');
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&answer), sizeof answer), expected);
    }
}

} // namespace
