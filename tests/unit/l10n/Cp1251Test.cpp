// The compile-time CP1251 conversion of the Russian fixed texts.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iconv.h>

#include "L10nTestSupport.h"
#include "l10n/Cp1251.h"

namespace {

// Evaluated by the compiler: these fail the build if the conversion regresses.
static_assert(Cp1251::Encode("Ёё").size == 2);
static_assert(Cp1251::Encode("Ёё").data[0] == '\xA8' && Cp1251::Encode("Ёё").data[1] == '\xB8');
static_assert(Cp1251::Encode("Аа Яя").data[0] == '\xC0' && Cp1251::Encode("Аа Яя").data[4] == '\xFF');
static_assert(Cp1251::Encode(u8"«№»").data[1] == '\xB9');
static_assert(Cp1251::Encode("").size == 0);

TEST(Cp1251Text, ConvertsLiterals)
{
    struct Case {
        std::string converted;
        std::string expected;
    };
    const Case cases[] = {
        {CP1251_TEXT("Отмена"), "\xCE\xF2\xEC\xE5\xED\xE0"},
        {CP1251_TEXT("Ok, 10%"), "Ok, 10%"},
        {CP1251_TEXT("Ёлка ёжик"), "\xA8\xEB\xEA\xE0 \xB8\xE6\xE8\xEA"},
        {CP1251_TEXT("«Да» — №1 – …"), "\xAB\xC4\xE0\xBB \x97 \xB9\x31 \x96 \x85"},
        {CP1251_TEXT(u8"Щ"), "\xD9"},
        {CP1251_TEXT("Строка\n\tдва"), "\xD1\xF2\xF0\xEE\xEA\xE0\n\t\xE4\xE2\xE0"},
        {CP1251_TEXT(""), ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.converted, c.expected);
    }
}

// Every CP1251 byte, decoded by iconv, maps back to itself through the table,
// and 0x98, which iconv rejects, is produced by no code point.
TEST(Cp1251Text, TableAgreesWithIconv)
{
    iconv_t cd = iconv_open("UTF-32LE", "CP1251");
    ASSERT_NE(cd, reinterpret_cast<iconv_t>(-1));
    for (int byte = 1; byte < 256; ++byte) {
        char in[1] = {static_cast<char>(byte)};
        unsigned char out[4] = {};
        char* inPtr = in;
        char* outPtr = reinterpret_cast<char*>(out);
        size_t inLeft = 1, outLeft = 4;
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        const size_t rc = iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
        if (rc == static_cast<size_t>(-1)) {
            EXPECT_EQ(byte, 0x98) << "iconv rejects byte " << byte;
            continue;
        }
        const char32_t cp = out[0] | (out[1] << 8) | (out[2] << 16) | (static_cast<char32_t>(out[3]) << 24);
        EXPECT_EQ(Cp1251::FromCodePoint(cp), byte) << std::hex << "U+" << static_cast<unsigned>(cp);
    }
    iconv_close(cd);
    for (char32_t cp : {U'\u00C4', U'\u0100', U'\u0460', U'\u4E2D', U'\U0001F600', U'\uFFFD'}) {
        EXPECT_EQ(Cp1251::FromCodePoint(cp), -1) << std::hex << static_cast<unsigned>(cp);
    }
}

// Characters CP1251 lacks, and malformed literals, must not compile. The test
// compiles small files with the system compiler against this source tree.
TEST(Cp1251Text, RejectsCharactersOutsideCp1251AtCompileTime)
{
    if (std::system("c++ --version >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "no c++ compiler on PATH";
    }
    std::string root = __FILE__;
    for (int up = 0; up < 4; ++up) { // tests/unit/l10n/<file> -> repository root
        root = root.substr(0, root.rfind('/'));
    }
    l10ntest::TempDir dir;
    struct Case {
        const char* literal;
        const char* error; // empty: must compile
    };
    const Case cases[] = {
        {"\"Отмена «ok» №1\"", ""},
        {"\"Привет 日本\"", "character_has_no_cp1251_byte"},
        {"\"café\"", "character_has_no_cp1251_byte"},
        {"\"😀\"", "character_has_no_cp1251_byte"},
        {"\"\\xC3\"", "utf8_literal_is_malformed"},
        {"\"\\xC0\\xAF\"", "utf8_literal_is_malformed"}, // overlong '/'
        {"\"\\xD0\\x41\"", "utf8_literal_is_malformed"},
        {"\"a\\0b\"", "literal_contains_zero_byte"},
    };
    int index = 0;
    for (const Case& c : cases) {
        const std::string source = dir.Path() + "/case" + std::to_string(index++) + ".cpp";
        {
            std::ofstream out(source);
            out << "#include \"l10n/Cp1251.h\"\nstd::string text() { return CP1251_TEXT(" << c.literal << "); }\n";
        }
        const std::string log = source + ".log";
        const std::string command =
            "c++ -std=c++20 -fsyntax-only -I'" + root + "' '" + source + "' >'" + log + "' 2>&1";
        const int status = std::system(command.c_str());
        std::ifstream in(log);
        const std::string output((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (*c.error == '\0') {
            EXPECT_EQ(status, 0) << c.literal << "\n" << output;
        } else {
            EXPECT_NE(status, 0) << c.literal << " compiled";
            EXPECT_NE(output.find(c.error), std::string::npos) << c.literal << "\n" << output;
        }
    }
}

} // namespace
