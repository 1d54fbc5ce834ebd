// The tries-left warning, one-slot formatting, and the check that keeps hostile
// catalogue formats away from printf.
#include "l10n/FormatCheck.h"
#include "l10n/VtuiLogic.h"
#include "Catalog.h"
#include "common/Sandbox.h"

#include <gtest/gtest.h>

namespace {

TEST(FormatCheck, AcceptsExactlyOnePlainConversion)
{
    const std::tuple<std::string, char, bool> cases[] = {
        {"Wrong %s", 's', true}, {"%d tries left", 'd', true}, {"100%% sure: %d%%", 'd', true}, {"%%%s%%", 's', true},
        {std::string("%s\0%n", 5), 's', true}, // printf stops at a zero byte, and so does the check
        {std::string("text\0%s", 7), 's', false}, {"%s%s", 's', false}, {"%s%s%n", 's', false}, {"%s %n", 's', false},
        {"%d", 's', false}, {"%s", 'd', false}, {"%10s", 's', false}, {"%-s", 's', false}, {"%.3s", 's', false},
        {"%1$s", 's', false}, {"%*d", 'd', false}, {"%ld", 'd', false}, {"%i", 'd', false}, {"%", 's', false},
        {"Wrong %s%", 's', false}, {"%%", 's', false}, {"", 'd', false}, {"%c", 'c', false}, {"%n", 'n', false},
    };
    for (const auto& [format, conversion, expected] : cases)
        EXPECT_EQ(VtuiLogic::IsSingleConversionFormat(format, conversion), expected) << format << " with %" << conversion;
}

TEST(PrintfToString, KeepsAtMost511BytesAndRefusesOtherFormats)
{
    EXPECT_EQ(VtuiLogic::printf_to_string<const char*>("%s", std::string(1000, 'n').c_str()), std::string(511, 'n'));
    EXPECT_EQ(VtuiLogic::printf_to_string<int>(std::string(600, 'p') + "%d", 5), std::string(511, 'p'));
    EXPECT_EQ(VtuiLogic::printf_to_string<const char*>("Wrong %s", nullptr), "Wrong ");
    EXPECT_EQ(VtuiLogic::printf_to_string<int>("%n%d", 1), "");
    EXPECT_EQ(VtuiLogic::printf_to_string<const char*>("%s%n", "x"), "");
}

TEST(TriesWarning, BuiltInWording)
{
    testkit::Sandbox box; // no catalogue anywhere: the built-in English texts
    const std::string longName(600, 'x');
    const std::tuple<unsigned, std::string, std::string> cases[] = {
        {0xFFFF, "password", ""}, {0, "password", "There are no tries left"}, {1, "PIN", "Wrong PIN, 1 tries left"},
        {2, "password", "Wrong password, 2 tries left"}, {0x7FFF, "PIN", "Wrong PIN, 32767 tries left"},
        {0x8000, "password", "Wrong password"}, {0x8001, "PIN", "Wrong PIN, 32769 tries left"},
        {0xFFFE, "PIN", "Wrong PIN, 65534 tries left"},
        {0x80000000u, "PIN", "Wrong PIN, -2147483648 tries left"}, // the count is a signed int
        {3, "100%s %n", "Wrong 100%s %n, 3 tries left"}, // the name is data, not a format
        // The first half is cut at 511 bytes before ", " and the count are added.
        {2, longName, "Wrong " + std::string(505, 'x') + ", 2 tries left"}, {0x8000, longName, "Wrong " + std::string(505, 'x')},
    };
    const std::string result = testkit::RunInChild(
        {{"LANG", "en_US.UTF-8"}, {"NLSPATH", box.Path("%N")}, {"TORVIK_CATALOG_DIR", box.Dir()}}, [&cases] {
            std::string lines;
            for (const auto& [tries, name, expected] : cases)
                lines += VtuiLogic::get_tries_warning_string(tries, name) + "\n";
            return lines;
        });
    std::string expected;
    for (const auto& c : cases)
        expected += std::get<2>(c) + "\n";
    EXPECT_EQ(result, expected);
}

TEST(TriesWarning, CatalogueTextsAndHostileFormats)
{
    testkit::Sandbox box;
    const std::map<unsigned, std::string> good = {{2096, "None left"}, {2099, "left: %d"}, {2144, "Bad %s"}};
    const auto with = [&good](unsigned id, const std::string& text) {
        auto texts = good;
        texts[id] = text;
        return texts;
    };
    // Catalogue texts 2096, 2099, 2144 -> the warnings for 2 tries, 0 tries and 0x8000.
    const std::pair<std::map<unsigned, std::string>, std::string> cases[] = {
        {good, "Bad PIN, left: 2|None left|Bad PIN"},
        {with(2144, "100%% %s"), "100% PIN, left: 2|None left|100% PIN"},
        // A hostile first half falls back to "Wrong %s", the second half stays
        // (which formats are hostile is the format check's table).
        {with(2144, "%s%s%n"), "Wrong PIN, left: 2|None left|Wrong PIN"},
        {with(2144, "%d"), "Wrong PIN, left: 2|None left|Wrong PIN"},
        // A hostile second half falls back to "%d tries left".
        {with(2099, "%n%d"), "Bad PIN, 2 tries left|None left|Bad PIN"},
        {with(2096, "%s%n"), "Bad PIN, left: 2|%s%n|Bad PIN"}, // shown as it stands, never a format
        {{{2099, "left: %d"}}, "Wrong PIN, left: 2|There are no tries left|Wrong PIN"}, // missing texts
    };
    int index = 0;
    for (const auto& [texts, expected] : cases) {
        const std::string dir = box.Path(std::to_string(index++));
        ASSERT_TRUE(CompileCatalog(dir, texts));
        EXPECT_EQ(testkit::RunInChild({{"LANG", "en_US.UTF-8"}, {"NLSPATH", dir + "/%N"}, {"TORVIK_CATALOG_DIR", box.Dir()}}, [] {
            using VtuiLogic::get_tries_warning_string;
            return get_tries_warning_string(2, "PIN") + "|" + get_tries_warning_string(0, "PIN") + "|" +
                   get_tries_warning_string(0x8000, "PIN");
        }), expected) << "case " << index;
    }
}

} // namespace
