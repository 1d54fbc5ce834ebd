// The password rules without a window: strength, the warnings, their order in
// the hint label's three lines.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dialogs/password/PasswordDialogBase.h"
#include "dialogs/password/PasswordQuality.h"
#include "dialogs/password/PasswordWarnings.h"
#include "l10n/VtuiLogic.h"

namespace {

using namespace PasswordWarnings;

Texts EnglishTexts()
{
    return PasswordDialogBase::EnglishWarningTexts();
}

// Shannon entropy of the bytes, at least 2.0 bits to pass.
TEST(PasswordRules, EntropyRule)
{
    const std::pair<const char*, int> cases[] = {
        {"abcd", 1}, {"aabbccdd", 1}, {"abca", 0}, {"aaabbbcd", 0}, {"", 0}, {"a", 0}, {"aaaaaaaaaaaa", 0},
        {"\xD0\xBF\xD0\xB0\xD1\x80\xD0\xBE\xD0\xBB\xD1\x8C", 1}, // counted byte by byte
        {"\x80\x7F\x01\xFF", 1},                                // bytes on both sides of the sign
    };
    for (const auto& [password, expected] : cases) {
        int secure = 42;
        EXPECT_EQ(is_passwd_secure(password, &secure, 2.0), 0u) << password;
        EXPECT_EQ(secure, expected) << '"' << password << '"';
    }
    EXPECT_EQ(is_passwd_secure("abc", nullptr, 2.0), 0x80070057u);
}

TEST(PasswordRules, NotAsciiAndPrintToString)
{
    for (const char* ascii : {"", "plain ~!@#", "\x7F"})
        EXPECT_FALSE(HasNotASCIISymbols(ascii)) << ascii;
    for (const char* other : {"\xD0\xBF", "ab\xE2\x82\xAC", "\xFF\xFE", "a\xC3"}) // also invalid UTF-8
        EXPECT_TRUE(HasNotASCIISymbols(other)) << other;

    EXPECT_EQ(PrintToString("100%% %s", "sure"), "100% sure");
    EXPECT_EQ(PrintToString("Entered %s is too short", std::string(600, 'w')).size(), 511u);
    EXPECT_EQ(PrintToString("%s%s%n", "x"), "%s%s%n"); // never reaches printf
}

TEST(PasswordRules, HintHasExactlyThreeLinesHighestFirst)
{
    Queue errors;
    EXPECT_EQ(TakeHintText(errors), "\n\n\n");
    for (std::uint32_t priority : {1u, 5u, 0u, 3u, 4u, 2u})
        errors.push({priority, "p" + std::to_string(priority)});
    EXPECT_EQ(TakeHintText(errors), "p5\np4\np3\n");
    EXPECT_EQ(TakeHintText(errors), "p2\np1\np0\n"); // the rest waited for the next one
}

// The real texts in rank order: too short names the short secret, not ASCII
// and not secure the new one; tries left only when there is a text.
TEST(PasswordRules, WarningsWordsAndTriesLeft)
{
    Queue errors;
    AddTwoEntryWarnings(errors, EnglishTexts(), "\xD0\xBF\xD0\xBF", "abd", true, "new PIN");
    AddBaseWarnings(errors, EnglishTexts(), "\xD0\xBF\xD0\xBF", true, true, "PIN", "new PIN");
    const std::string tries = VtuiLogic::get_tries_warning_string(2, "PIN");
    ASSERT_FALSE(tries.empty());
    AddTriesLeftWarning(errors, tries);
    EXPECT_EQ(TakeHintText(errors), "Input and confirmation do not match\n" + tries + "\nEntered PIN is too short\n");
    EXPECT_EQ(TakeHintText(errors),
              "Entered new PIN is not secure\nEntered new PIN contains not ASCII symbols\nCaps Lock button is on\n");

    AddTwoEntryWarnings(errors, EnglishTexts(), "abc", "abc", false, "PIN"); // equal, strength not judged
    AddTriesLeftWarning(errors, VtuiLogic::get_tries_warning_string(0xFFFF, "PIN"));
    EXPECT_TRUE(errors.empty());
}

} // namespace
