// The container dialog as the provider sees it: a count and 1538-byte records
// on the helper's standard input, one record or "ret=" back, chosen with real
// X input on a private Xvfb.
#include "common/Blackbox.h"

#include "client/ContainerRequest.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace testkit;
using namespace xvtui::client;
using xvtui::protocol::SelectAnswer;

// A record of raw bytes: the friendly name as the provider's code page has it.
VTUISelectItem_ Item(std::string_view friendly, std::string_view unique, std::string_view primary)
{
    VTUISelectItem_ item{};
    std::memcpy(item.friendly_name, friendly.data(), std::min(friendly.size(), sizeof item.friendly_name));
    std::memcpy(item.unique_name, unique.data(), std::min(unique.size(), sizeof item.unique_name));
    std::memcpy(item.primary_name, primary.data(), std::min(primary.size(), sizeof item.primary_name));
    item.reserved[0] = 0x5a;
    item.reserved[1] = 0xa5;
    return item;
}

std::string Bytes(const VTUISelectItem_& item)
{
    return std::string(reinterpret_cast<const char*>(&item), sizeof item);
}

// "Тест-1" and "Ключ №2" in CP1251, and their UTF-8 forms.
const std::string kTest1 = "\xd2\xe5\xf1\xf2-1", kKey2 = "\xca\xeb\xfe\xf7 \xb9\x32";
const std::string kTest1Utf8 = "Тест-1", kKey2Utf8 = "Ключ №2";

TEST(SelectContainer, AnswersTheChosenRecord)
{
    const Act ok = ClickButton(0);
    const std::vector<VTUISelectItem_> two = {Item(kTest1, "u-1", R"(\\.\HDIMAGE\one)"),
                                              Item(kKey2, "u-2", R"(\\.\FLASH\two)")};
    const std::string longPrimary(768, 'p'); // no terminating zero in its field
    const struct {
        const char* what;
        std::uint32_t count;
        std::vector<VTUISelectItem_> items;
        std::vector<Act> acts;
        std::string output;
    } cases[] = {
        {"an empty list", 0, {}, {ok}, std::string(1538, '\0')},
        {"the first row, selected at start", 2, two, {ok}, Bytes(SelectAnswer(kTest1Utf8, R"(\\.\HDIMAGE\one)"))},
        // Two rows, not the last one repeated: one up from the end is the first.
        {"a count far beyond the records sent", 0xFFFFFFFFu, two, {Press("End"), Press("Up"), Press("Return")},
         Bytes(SelectAnswer(kTest1Utf8, R"(\\.\HDIMAGE\one)"))},
        {"bytes that are neither UTF-8 nor CP1251", 1, {Item("bad\x98", "u\xff", "c\xfe\x01")}, {ok},
         Bytes(SelectAnswer("", "c\xfe\x01"))},
        {"names filling their fields", 1, {Item(std::string(256, 'f'), std::string(512, 'u'), longPrimary)}, {ok},
         Bytes(SelectAnswer(std::string(255, 'f'), longPrimary.substr(0, 767)))},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ExpectOutput(ContainerRequest(c.count, c.items), c.acts, c.output);
    }
}

// The records are read before the window appears: input that ends early
// (here half a record) must not hold it back.
TEST(SelectContainer, ShortInputStillShowsTheDialog)
{
    Request request = ContainerRequest(3, {Item(kTest1, "u-1", "one")});
    request.input.append(std::string(700, 'x'));
    Sandbox sandbox;
    const Reply run = Drive(request, {Press("Down"), Press("Return")}, sandbox);
    EXPECT_EQ(run.output, Bytes(SelectAnswer(kTest1Utf8, "one")));
}

} // namespace
