// Code-page conversions: round trips, measuring, the -1 terminator count,
// too-small buffers, and input with no character on the other side.
#include "support/torvik.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

int ToWide(unsigned cp, const std::string& s, int n, wchar_t* out = nullptr, int size = 0)
{
    return MultiByteToWideChar(cp, 0, s.c_str(), n, out, size);
}

int ToBytes(unsigned cp, const std::wstring& s, int n, char* out = nullptr, int size = 0)
{
    return WideCharToMultiByte(cp, 0, s.c_str(), n, out, size, nullptr, nullptr);
}

TEST(CodePage, RoundTripsMeasureAndConvertExactly)
{
    const std::wstring hello = L"\u041F\u0440\u0438\u0432\u0435\u0442"; // "Привет"
    const std::tuple<unsigned, std::string, std::wstring> cases[] = {
        {0, "\xCF\xF0\xE8\xE2\xE5\xF2", hello}, {1251, "\xCF\xF0\xE8\xE2\xE5\xF2", hello},
        {0, "\xA8\xB8\xB9\x88 A\xFF", L"\u0401\u0451\u2116\u20AC A\u044F"}, {866, "\x8F\xE0\xA8\xA2\xA5\xE2", hello},
        {20866, "\xF0\xD2\xC9\xD7\xC5\xD4", hello}, {28595, "\xBF\xE0\xD8\xD2\xD5\xE2", hello},
        {65001, "\xD0\x9F\xD1\x80\xD0\xB8 \xE2\x82\xAC \xF0\x9F\x98\x80", L"\u041F\u0440\u0438 \u20AC \U0001F600"},
    };
    for (const auto& [cp, text, wideText] : cases) {
        SCOPED_TRACE("code page " + std::to_string(cp) + ": " + text);
        const int bytes = static_cast<int>(text.size()), wide = static_cast<int>(wideText.size());
        EXPECT_EQ(ToWide(cp, text, bytes), wide); // an explicit length counts no terminator
        EXPECT_EQ(ToWide(cp, text, -1), wide + 1);
        EXPECT_EQ(ToBytes(cp, wideText, wide), bytes);
        EXPECT_EQ(ToBytes(cp, wideText, -1), bytes + 1);
        std::vector<wchar_t> wout(wide + 1, L'#');
        std::vector<char> bout(bytes + 1, '#');
        ASSERT_EQ(ToWide(cp, text, -1, wout.data(), wide + 1), wide + 1);
        EXPECT_EQ(std::wstring(wout.data()), wideText);
        ASSERT_EQ(ToBytes(cp, wideText, -1, bout.data(), bytes + 1), bytes + 1);
        EXPECT_EQ(std::string(bout.data()), text);
        // One unit short fails rather than truncating.
        EXPECT_EQ(ToWide(cp, text, -1, wout.data(), wide), 0);
        EXPECT_EQ(ToBytes(cp, wideText, -1, bout.data(), bytes), 0);
    }
    // An explicit length is taken as it is, embedded zero included.
    wchar_t out[4] = {L'#', L'#', L'#', L'#'};
    ASSERT_EQ(ToWide(0, std::string("a\0b", 3), 3, out, 4), 3);
    EXPECT_EQ(std::wstring(out, 4), std::wstring(L"a\0b#", 4));
    // Longer than any fixed internal buffer.
    EXPECT_EQ(ToBytes(65001, std::wstring(10000, L'\u0436'), -1), 20001);
}

TEST(CodePage, InputWithoutACharacterOnTheOtherSideFails)
{
    const std::pair<unsigned, std::string> badBytes[] = {
        {0, "ab\x98"}, {1251, "\x98"}, // the CP1251 hole
        {65001, "ok\xD0"}, {65001, "\xF0\x9F\x98"}, {65001, "\xC3\x28"}, // truncated, bad continuation
        {65001, "\xC0\xAF"}, {65001, "\xED\xA0\x80"}, {65001, "\xF4\x90\x80\x80"}, // overlong, surrogate, too big
        {437, "abc"}, {1252, "abc"}, // unknown code pages
    };
    for (const auto& [cp, bytes] : badBytes) {
        SCOPED_TRACE(std::to_string(cp) + ": " + bytes);
        wchar_t out[16];
        EXPECT_EQ(ToWide(cp, bytes, static_cast<int>(bytes.size())), 0);
        EXPECT_EQ(ToWide(cp, bytes, -1, out, 16), 0);
    }
    // A character the target lacks is not replaced, not even by a given default.
    const std::pair<unsigned, std::wstring> badWide[] = {
        {0, L"a\u4E2D"}, {866, L"\u00E9"}, {20866, L"\u20AC"}, {28595, L"\u20AC"}, {1250, L"abc"},
        {65001, std::wstring(1, static_cast<wchar_t>(0xD800))}, {65001, std::wstring(1, static_cast<wchar_t>(0x110000))},
    };
    char out[16];
    int usedDefault = 0;
    for (const auto& [cp, wide] : badWide) {
        EXPECT_EQ(ToBytes(cp, wide, -1), 0) << cp;
        EXPECT_EQ(WideCharToMultiByte(cp, 0, wide.c_str(), -1, out, 16, "?", &usedDefault), 0) << cp;
    }
}

TEST(CodePage, BadArgumentsFail)
{
    wchar_t wout[8];
    char bout[8];
    // Length, target size, whether a target is given: empty source, length below -1, negative size, no target.
    const std::tuple<int, int, bool> cases[] = {{0, 8, true}, {-2, 8, true}, {2, -1, true}, {2, 8, false}};
    for (const auto& [length, size, target] : cases) {
        EXPECT_EQ(ToWide(0, "ab", length, target ? wout : nullptr, size), 0) << length << " " << size;
        EXPECT_EQ(ToBytes(0, L"ab", length, target ? bout : nullptr, size), 0) << length << " " << size;
    }
    EXPECT_EQ(MultiByteToWideChar(0, 0, nullptr, -1, wout, 8), 0);
    EXPECT_EQ(WideCharToMultiByte(0, 0, nullptr, -1, bout, 8, nullptr, nullptr), 0);
}

} // namespace
