// Code-page conversions of the support library: round trips in every supported
// code page, measuring, the -1 terminator count, too-small buffers, and input
// that has no character on the other side.

#include "support/torvik.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct RoundTrip {
    unsigned int codePage;
    std::string bytes;
    std::wstring wide;
};

// "Привет" in each Cyrillic code page, plus characters at the edges of CP1251
// and multi-byte UTF-8 sequences up to four bytes.
const std::vector<RoundTrip> kRoundTrips = {
    {0, "\xCF\xF0\xE8\xE2\xE5\xF2", L"\u041F\u0440\u0438\u0432\u0435\u0442"},
    {1251, "\xCF\xF0\xE8\xE2\xE5\xF2", L"\u041F\u0440\u0438\u0432\u0435\u0442"},
    {0, "\xA8\xB8\xB9\x88 A\xFF", L"\u0401\u0451\u2116\u20AC A\u044F"},
    {866, "\x8F\xE0\xA8\xA2\xA5\xE2", L"\u041F\u0440\u0438\u0432\u0435\u0442"},
    {20866, "\xF0\xD2\xC9\xD7\xC5\xD4", L"\u041F\u0440\u0438\u0432\u0435\u0442"},
    {28595, "\xBF\xE0\xD8\xD2\xD5\xE2", L"\u041F\u0440\u0438\u0432\u0435\u0442"},
    {65001, "\xD0\x9F\xD1\x80\xD0\xB8 \xE2\x82\xAC \xF0\x9F\x98\x80", L"\u041F\u0440\u0438 \u20AC \U0001F600"},
    {65001, "plain", L"plain"},
};

TEST(CodePage, RoundTripsMeasureAndConvertExactly)
{
    for (const auto& c : kRoundTrips) {
        SCOPED_TRACE("code page " + std::to_string(c.codePage) + ": " + c.bytes);
        const int bytes = static_cast<int>(c.bytes.size());
        const int wide = static_cast<int>(c.wide.size());

        // Measuring: explicit length counts no terminator, -1 counts it.
        EXPECT_EQ(MultiByteToWideChar(c.codePage, 0, c.bytes.c_str(), bytes, nullptr, 0), wide);
        EXPECT_EQ(MultiByteToWideChar(c.codePage, 0, c.bytes.c_str(), -1, nullptr, 0), wide + 1);
        EXPECT_EQ(WideCharToMultiByte(c.codePage, 0, c.wide.c_str(), wide, nullptr, 0, nullptr, nullptr), bytes);
        EXPECT_EQ(WideCharToMultiByte(c.codePage, 0, c.wide.c_str(), -1, nullptr, 0, nullptr, nullptr), bytes + 1);

        // Converting into a buffer of exactly the measured size, terminator included.
        std::vector<wchar_t> wout(wide + 1, L'#');
        ASSERT_EQ(MultiByteToWideChar(c.codePage, 0, c.bytes.c_str(), -1, wout.data(), wide + 1), wide + 1);
        EXPECT_EQ(std::wstring(wout.data()), c.wide);
        std::vector<char> bout(bytes + 1, '#');
        ASSERT_EQ(WideCharToMultiByte(c.codePage, 0, c.wide.c_str(), -1, bout.data(), bytes + 1, nullptr, nullptr), bytes + 1);
        EXPECT_EQ(std::string(bout.data()), c.bytes);

        // One unit short is a failure, not a truncated result.
        EXPECT_EQ(MultiByteToWideChar(c.codePage, 0, c.bytes.c_str(), -1, wout.data(), wide), 0);
        EXPECT_EQ(WideCharToMultiByte(c.codePage, 0, c.wide.c_str(), -1, bout.data(), bytes, nullptr, nullptr), 0);
    }
}

TEST(CodePage, ExplicitLengthConvertsEmbeddedZeroAndNoTerminator)
{
    const char source[] = {'a', '\0', 'b'};
    wchar_t out[4] = {L'#', L'#', L'#', L'#'};
    ASSERT_EQ(MultiByteToWideChar(0, 0, source, 3, out, 4), 3);
    EXPECT_EQ(out[0], L'a');
    EXPECT_EQ(out[1], L'\0');
    EXPECT_EQ(out[2], L'b');
    EXPECT_EQ(out[3], L'#');
}

struct BadBytes {
    const char* what;
    unsigned int codePage;
    std::string bytes;
};

TEST(CodePage, InvalidMultiByteInputFails)
{
    const std::vector<BadBytes> cases = {
        {"CP1251 hole 0x98", 0, "ab\x98"},
        {"CP1251 hole via 1251", 1251, "\x98"},
        {"truncated UTF-8", 65001, "ok\xD0"},
        {"truncated 4-byte UTF-8", 65001, "\xF0\x9F\x98"},
        {"bad continuation", 65001, "\xC3\x28"},
        {"overlong slash", 65001, "\xC0\xAF"},
        {"encoded surrogate", 65001, "\xED\xA0\x80"},
        {"beyond U+10FFFF", 65001, "\xF4\x90\x80\x80"},
        {"unknown code page", 437, "abc"},
        {"unknown code page 1252", 1252, "abc"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        wchar_t out[16];
        EXPECT_EQ(MultiByteToWideChar(c.codePage, 0, c.bytes.c_str(), static_cast<int>(c.bytes.size()), nullptr, 0), 0);
        EXPECT_EQ(MultiByteToWideChar(c.codePage, 0, c.bytes.c_str(), -1, out, 16), 0);
    }
}

struct BadWide {
    const char* what;
    unsigned int codePage;
    std::wstring wide;
};

TEST(CodePage, WideCharactersMissingFromTargetFailWithoutSubstitution)
{
    const std::vector<BadWide> cases = {
        {"CJK to CP1251", 0, L"a\u4E2D"},
        {"Latin e-acute to CP866", 866, L"\u00E9"},
        {"Euro to KOI8-R", 20866, L"\u20AC"},
        {"Euro to ISO-8859-5", 28595, L"\u20AC"},
        {"lone surrogate to UTF-8", 65001, std::wstring(1, static_cast<wchar_t>(0xD800))},
        {"beyond U+10FFFF to UTF-8", 65001, std::wstring(1, static_cast<wchar_t>(0x110000))},
        {"unknown code page", 1250, L"abc"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        char out[16];
        int usedDefault = 7;
        EXPECT_EQ(WideCharToMultiByte(c.codePage, 0, c.wide.c_str(), -1, nullptr, 0, nullptr, nullptr), 0);
        EXPECT_EQ(WideCharToMultiByte(c.codePage, 0, c.wide.c_str(), -1, out, 16, "?", &usedDefault), 0);
    }
}

TEST(CodePage, BadArgumentsFail)
{
    wchar_t wout[8];
    char bout[8];
    const wchar_t* wide = L"ab";
    // Empty source, null source, lengths below -1, negative or missing target.
    EXPECT_EQ(MultiByteToWideChar(0, 0, "ab", 0, wout, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(0, 0, nullptr, -1, wout, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(0, 0, "ab", -2, wout, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(0, 0, "ab", 2, wout, -1), 0);
    EXPECT_EQ(MultiByteToWideChar(0, 0, "ab", 2, nullptr, 8), 0);
    EXPECT_EQ(WideCharToMultiByte(0, 0, wide, 0, bout, 8, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(0, 0, nullptr, -1, bout, 8, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(0, 0, wide, -2, bout, 8, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(0, 0, wide, 2, bout, -1, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(0, 0, wide, 2, nullptr, 8, nullptr, nullptr), 0);
}

TEST(CodePage, MeasuresInputLongerThanAnyInternalBuffer)
{
    // 10000 Cyrillic letters: 20000 bytes of UTF-8, measured without a target.
    const std::wstring wide(10000, L'\u0436');
    EXPECT_EQ(WideCharToMultiByte(65001, 0, wide.c_str(), -1, nullptr, 0, nullptr, nullptr), 20001);
    const std::string cp1251(10000, '\xE6');
    EXPECT_EQ(MultiByteToWideChar(0, 0, cp1251.c_str(), -1, nullptr, 0), 10001);
}

} // namespace
