// The compile-time CP1251 conversion of the Russian fixed texts.
#include "l10n/Cp1251.h"
#include "common/Sandbox.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iconv.h>

namespace {

TEST(Cp1251Text, ConvertsLiterals)
{
    EXPECT_EQ(CP1251_TEXT("Отмена, Ok 10%"), "\xCE\xF2\xEC\xE5\xED\xE0, Ok 10%");
    EXPECT_EQ(CP1251_TEXT("Ёлка\n«Да» — №1 – …"), "\xA8\xEB\xEA\xE0\n\xAB\xC4\xE0\xBB \x97 \xB9\x31 \x96 \x85");
    EXPECT_EQ(CP1251_TEXT(u8"Щ"), "\xD9");
    EXPECT_EQ(CP1251_TEXT(""), "");
}

// Every byte iconv decodes from CP1251 comes back through the table; 0x98 has no character.
TEST(Cp1251Text, TableAgreesWithIconv)
{
    iconv_t cd = iconv_open("UTF-32LE", "CP1251");
    ASSERT_NE(cd, reinterpret_cast<iconv_t>(-1));
    for (int byte = 1; byte < 256; ++byte) {
        char in[1] = {static_cast<char>(byte)}, *inPtr = in;
        char32_t cp = 0;
        char* outPtr = reinterpret_cast<char*>(&cp);
        size_t inLeft = 1, outLeft = 4;
        if (iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft) == static_cast<size_t>(-1))
            EXPECT_EQ(byte, 0x98) << "iconv rejects byte " << byte;
        else
            EXPECT_EQ(Cp1251::FromCodePoint(cp), byte) << std::hex << "U+" << static_cast<unsigned>(cp);
    }
    iconv_close(cd);
    for (char32_t cp : {U'\u00C4', U'\u0460', U'\u4E2D', U'\U0001F600', U'\uFFFD'})
        EXPECT_EQ(Cp1251::FromCodePoint(cp), -1) << std::hex << static_cast<unsigned>(cp);
}

// Characters CP1251 lacks, malformed UTF-8 and zero bytes must not compile.
TEST(Cp1251Text, RejectsBadLiteralsAtCompileTime)
{
    std::string root = __FILE__; // <root>/tests/unit/l10n/Cp1251Test.cpp
    for (int up = 0; up < 4; ++up)
        root.resize(root.rfind('/'));
    testkit::Sandbox box;
    box.WriteFile("bad.cpp", "#include \"l10n/Cp1251.h\"\nstd::string a() { return CP1251_TEXT(\"Привет 日本\"); }\n"
                             "std::string b() { return CP1251_TEXT(\"\\xC0\\xAF\"); }\n"
                             "std::string c() { return CP1251_TEXT(\"a\\0b\"); }\n");
    const std::string command = "c++ -std=c++20 -fsyntax-only -I'" + root + "' '" + box.Path("bad.cpp") + "' >'" +
                                box.Path("log") + "' 2>&1";
    EXPECT_NE(std::system(command.c_str()), 0);
    for (const char* error : {"character_has_no_cp1251_byte", "utf8_literal_is_malformed", "literal_contains_zero_byte"})
        EXPECT_NE(box.ReadFile("log").find(error), std::string::npos) << error << "\n" << box.ReadFile("log");
}

} // namespace
