// The tries-left warning, one-slot formatting and the check that keeps
// hostile catalogue formats away from printf.
#include <gtest/gtest.h>

#include "L10nTestSupport.h"
#include "l10n/FormatCheck.h"
#include "l10n/VtuiLogic.h"

using l10ntest::CompileCatalog;
using l10ntest::RunInChild;
using l10ntest::TempDir;

namespace {

TEST(FormatCheck, AcceptsExactlyOnePlainConversion)
{
    struct Case {
        const char* format;
        char conversion;
        bool expected;
    };
    const Case cases[] = {
        {"Wrong %s", 's', true},
        {"%s", 's', true},
        {"%d tries left", 'd', true},
        {"100%% sure: %d%%", 'd', true},
        {"%%%s%%", 's', true},
        {"%s%s", 's', false},
        {"%s%s%n", 's', false},
        {"%n", 's', false},
        {"%s %n", 's', false},
        {"%d", 's', false},
        {"%s", 'd', false},
        {"%10s", 's', false},
        {"%-s", 's', false},
        {"%.3s", 's', false},
        {"%1$s", 's', false},
        {"%*d", 'd', false},
        {"%ld", 'd', false},
        {"%hhd", 'd', false},
        {"%i", 'd', false},
        {"%x", 'd', false},
        {"%", 's', false},
        {"Wrong %s%", 's', false},
        {"%%", 's', false},
        {"no slot", 's', false},
        {"", 'd', false},
        {"%c", 'c', false}, // only s and d are conversions a caller may ask for
        {"%n", 'n', false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(VtuiLogic::IsSingleConversionFormat(c.format, c.conversion), c.expected)
            << "\"" << c.format << "\" with %" << c.conversion;
    }
    // printf stops at a zero byte, and so does the check.
    EXPECT_FALSE(VtuiLogic::IsSingleConversionFormat(std::string("text\0%s", 7), 's'));
    EXPECT_TRUE(VtuiLogic::IsSingleConversionFormat(std::string("%s\0%n", 5), 's'));
}

TEST(PrintfToString, FormatsIntoAtMost511Bytes)
{
    EXPECT_EQ(VtuiLogic::printf_to_string<int>("%d tries left", 3), "3 tries left");
    EXPECT_EQ(VtuiLogic::printf_to_string<int>("%d%%", -7), "-7%");
    EXPECT_EQ(VtuiLogic::printf_to_string<const char*>("Wrong %s", "PIN"), "Wrong PIN");
    EXPECT_EQ(VtuiLogic::printf_to_string<const char*>("Wrong %s", nullptr), "Wrong ");
    const std::string longName(1000, 'n');
    const std::string cut = VtuiLogic::printf_to_string<const char*>("%s", longName.c_str());
    EXPECT_EQ(cut, std::string(511, 'n'));
    const std::string padded = std::string(600, 'p') + "%d";
    EXPECT_EQ(VtuiLogic::printf_to_string<int>(padded, 5), std::string(511, 'p'));
    // Formats without exactly their one slot never reach printf.
    for (const char* bad : {"%s", "%n%d", "%d %d", "%5d", "%"}) {
        EXPECT_EQ(VtuiLogic::printf_to_string<int>(bad, 1), "") << bad;
    }
    for (const char* bad : {"%d", "%s%s", "%10s", "%s%n"}) {
        EXPECT_EQ(VtuiLogic::printf_to_string<const char*>(bad, "x"), "") << bad;
    }
}

// No catalogue anywhere: the built-in English texts.
std::map<std::string, std::string> WithoutCatalogue(const TempDir& dir)
{
    const std::string empty = dir.Sub("empty");
    return {{"LANG", "en_US.UTF-8"},
            {"NLSPATH", empty + "/%N"},
            {"TORVIK_CATALOG_DIR", empty},
            {"TORVIK_LOCALE_CATALOG_DIR", empty}};
}

TEST(TriesWarning, BuiltInWording)
{
    TempDir dir;
    const std::string longName(600, 'x');
    struct Case {
        unsigned tries;
        std::string name;
        std::string expected;
    };
    const Case cases[] = {
        {0xFFFF, "password", ""},
        {0, "password", "There are no tries left"},
        {1, "PIN", "Wrong PIN, 1 tries left"},
        {2, "password", "Wrong password, 2 tries left"},
        {0x7FFF, "password", "Wrong password, 32767 tries left"},
        {0x8000, "password", "Wrong password"},
        {0x8001, "password", "Wrong password, 32769 tries left"},
        {0xFFFE, "password", "Wrong password, 65534 tries left"},
        {0x10000, "PIN", "Wrong PIN, 65536 tries left"},
        {0x80000000u, "PIN", "Wrong PIN, -2147483648 tries left"}, // the count is a signed int
        {3, "", "Wrong , 3 tries left"},
        {3, "100%s %n", "Wrong 100%s %n, 3 tries left"}, // the name is data, not a format
        // The first half is cut at 511 bytes before ", " and the count are added.
        {2, longName, "Wrong " + std::string(505, 'x') + ", 2 tries left"},
        {0x8000, longName, "Wrong " + std::string(505, 'x')},
    };
    const std::string result = RunInChild(WithoutCatalogue(dir), [&] {
        std::string lines;
        for (const Case& c : cases) {
            lines += VtuiLogic::get_tries_warning_string(c.tries, c.name) + "\n";
        }
        return lines;
    });
    std::string expected;
    for (const Case& c : cases) {
        expected += c.expected + "\n";
    }
    EXPECT_EQ(result, expected);
}

TEST(TriesWarning, CatalogueTextsAndHostileFormats)
{
    TempDir dir;
    struct Case {
        std::map<unsigned, std::string> texts; // 2096, 2099, 2144
        unsigned tries;
        std::string expected;
    };
    const std::map<unsigned, std::string> good = {{2096, "None left"}, {2099, "left: %d"}, {2144, "Bad %s"}};
    const auto with = [&good](unsigned id, const std::string& text) {
        std::map<unsigned, std::string> texts = good;
        texts[id] = text;
        return texts;
    };
    const Case cases[] = {
        {good, 2, "Bad PIN, left: 2"},
        {good, 0, "None left"},
        {good, 0x8000, "Bad PIN"},
        {good, 0xFFFF, ""},
        {with(2144, "100%% %s"), 2, "100% PIN, left: 2"},
        // A hostile first half falls back to "Wrong %s", the second half stays.
        {with(2144, "%s%s%n"), 2, "Wrong PIN, left: 2"},
        {with(2144, "%d"), 2, "Wrong PIN, left: 2"},
        {with(2144, "%10s"), 2, "Wrong PIN, left: 2"},
        {with(2144, "%"), 2, "Wrong PIN, left: 2"},
        {with(2144, "no slot"), 0x8000, "Wrong PIN"},
        // A hostile second half falls back to "%d tries left".
        {with(2099, "%s tries"), 2, "Bad PIN, 2 tries left"},
        {with(2099, "%n%d"), 2, "Bad PIN, 2 tries left"},
        {with(2099, "%5d"), 2, "Bad PIN, 2 tries left"},
        {with(2099, "%ld"), 2, "Bad PIN, 2 tries left"},
        {with(2099, "%d of %d"), 2, "Bad PIN, 2 tries left"},
        // 2096 is shown as it stands, never used as a format.
        {with(2096, "%s%n"), 0, "%s%n"},
        // A missing text falls back on its own.
        {{{2099, "left: %d"}}, 2, "Wrong PIN, left: 2"},
        {{{2144, "Bad %s"}}, 0, "There are no tries left"},
    };
    int index = 0;
    for (const Case& c : cases) {
        const std::string catalogue = dir.Sub("case" + std::to_string(index++));
        ASSERT_TRUE(CompileCatalog(catalogue, c.texts));
        const std::string result = RunInChild(
            {{"LANG", "en_US.UTF-8"}, {"NLSPATH", catalogue + "/%N"}, {"TORVIK_CATALOG_DIR", dir.Sub("empty")}},
            [&c] { return VtuiLogic::get_tries_warning_string(c.tries, "PIN"); });
        std::string texts;
        for (const auto& [id, text] : c.texts) {
            texts += std::to_string(id) + "=\"" + text + "\" ";
        }
        EXPECT_EQ(result, c.expected) << texts << "tries " << c.tries;
    }
}

} // namespace
