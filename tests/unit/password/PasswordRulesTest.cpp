// The password rules without a window: strength, warnings and their order,
// the hint label's three lines, and the check-box control words.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "dialogs/password/CheckBoxControl.h"
#include "dialogs/password/PasswordQuality.h"
#include "dialogs/password/PasswordWarnings.h"
#include "l10n/VtuiLogic.h"

namespace {

using namespace PasswordWarnings;

TEST(PasswordStrength, EntropyRule)
{
    struct Case {
        const char* password;
        int secure;
    };
    const Case cases[] = {
        {"abcd", 1},          // exactly 2.0 bits
        {"aabbccdd", 1},      // still 2.0
        {"abcde", 1},
        {"abca", 0},          // 1.5
        {"aaabbbcd", 0},      // 1.81
        {"", 0},              // no bytes at all is not secure
        {"a", 0},
        {"aaaaaaaaaaaa", 0},  // length alone never helps
        {"abc", 0},
        {"\xD0\xBF\xD0\xB0\xD1\x80\xD0\xBE\xD0\xBB\xD1\x8C", 1}, // "пароль", counted byte by byte
        {"\x80\x7F\x01\xFF", 1}, // bytes on both sides of the signed comparison
    };
    for (const Case& c : cases) {
        int secure = 42;
        EXPECT_EQ(is_passwd_secure(c.password, &secure, 2.0), 0u) << c.password;
        EXPECT_EQ(secure, c.secure) << '"' << c.password << '"';
    }
    int secure = 42;
    EXPECT_EQ(is_passwd_secure("abc", &secure, 1.5), 0u);
    EXPECT_EQ(secure, 1) << "log2(3) = 1.58 passes a lower threshold";
    EXPECT_EQ(is_passwd_secure("abc", nullptr, 2.0), 0x80070057u);
}

TEST(PasswordStrength, OutOfMemoryLeavesTheFlagAlone)
{
    // In a child whose address space cannot grow any more.
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        long pages = 0;
        std::FILE* statm = std::fopen("/proc/self/statm", "r");
        if (statm == nullptr || std::fscanf(statm, "%ld", &pages) != 1) {
            _exit(3);
        }
        std::fclose(statm);
        const rlim_t size = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
        struct rlimit limit = {size, size};
        setrlimit(RLIMIT_AS, &limit);
        int secure = 42;
        const std::uint32_t result = is_passwd_secure("abcd", &secure, 2.0);
        _exit(result == kPasswordNoMemory && secure == 42 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(PasswordWarningRules, NotAsciiDetection)
{
    struct Case {
        const char* text;
        bool notAscii;
    };
    const Case cases[] = {
        {"", false}, {"plain ASCII ~!@#", false}, {"\x7F", false},
        {"\xD0\xBF", true},      // one Cyrillic letter
        {"ab\xE2\x82\xAC", true}, // euro sign
        {"\xFF\xFE", true},      // not UTF-8 at all: the conversion fails
        {"a\xC3", true},         // cut in the middle of a character
    };
    for (const Case& c : cases) {
        EXPECT_EQ(HasNotASCIISymbols(c.text), c.notAscii) << '"' << c.text << '"';
    }
}

TEST(PasswordWarningRules, HintHasExactlyThreeLinesHighestFirst)
{
    Queue errors;
    EXPECT_EQ(TakeHintText(errors), "\n\n\n");

    for (std::uint32_t priority : {1u, 5u, 0u, 3u, 4u, 2u}) {
        errors.push({priority, "p" + std::to_string(priority)});
    }
    EXPECT_EQ(TakeHintText(errors), "p5\np4\np3\n");
    EXPECT_EQ(errors.size(), 3u) << "the rest waits for the next computation";
    EXPECT_EQ(TakeHintText(errors), "p2\np1\np0\n");

    errors.push({kCapsLock, "caps"});
    EXPECT_EQ(TakeHintText(errors), "caps\n\n\n");
}

TEST(PasswordWarningRules, TwoEntryScenarios)
{
    const Texts texts = EnglishTexts();
    struct Case {
        const char* label;
        const char* newPassword;
        const char* confirmation;
        bool checkStrength;
        bool capsLock;
        bool tooShort;
        const char* hint;
    };
    const Case cases[] = {
        {"mismatch, weak, caps", "abc", "abd", true, true, false,
         "Input and confirmation do not match\nEntered password is not secure\nCaps Lock button is on\n"},
        {"four warnings drop caps", "abc", "abd", true, true, true,
         "Input and confirmation do not match\nEntered password is too short\nEntered password is not secure\n"},
        {"strength not yet checked", "abc", "abc", false, false, false, "\n\n\n"},
        {"both empty", "", "", false, false, false, "\n\n\n"},
        {"one byte differs", "abcdef", "abcdeg", false, false, false, "Input and confirmation do not match\n\n\n"},
        {"prefix", "abcd", "abc", false, false, false, "Input and confirmation do not match\n\n\n"},
        {"strong and equal", "abcd", "abcd", true, false, false, "\n\n\n"},
        {"Cyrillic", "\xD0\xBF\xD0\xB0\xD1\x80\xD0\xBE\xD0\xBB\xD1\x8C", "\xD0\xBF\xD0\xB0\xD1\x80\xD0\xBE\xD0\xBB\xD1\x8C",
         true, false, false, "Entered password contains not ASCII symbols\n\n\n"},
    };
    for (const Case& c : cases) {
        Queue errors;
        AddTwoEntryWarnings(errors, texts, c.newPassword, c.confirmation, c.checkStrength, "password");
        AddBaseWarnings(errors, texts, c.newPassword, c.capsLock, c.tooShort, "password", "password");
        EXPECT_EQ(TakeHintText(errors), c.hint) << c.label;
    }
}

TEST(PasswordWarningRules, OneEntryWordsAndTriesLeft)
{
    const Texts texts = EnglishTexts();
    // The too-short warning names the short password, the non-ASCII one the new-password word.
    Queue errors;
    AddBaseWarnings(errors, texts, "\xD0\xBF", true, true, "PIN", "new PIN");
    const std::string tries = VtuiLogic::get_tries_warning_string(2, "PIN");
    ASSERT_FALSE(tries.empty());
    AddTriesLeftWarning(errors, tries);
    EXPECT_EQ(TakeHintText(errors), tries + "\nEntered PIN is too short\nEntered new PIN contains not ASCII symbols\n");
    EXPECT_EQ(errors.size(), 1u); // Caps Lock, below the three shown

    // No tries information: nothing is queued.
    Queue quiet;
    AddTriesLeftWarning(quiet, VtuiLogic::get_tries_warning_string(0xFFFF, "PIN"));
    EXPECT_TRUE(quiet.empty());
}

TEST(PasswordWarningRules, PrintToStringFillsOneSlotWithin511Bytes)
{
    EXPECT_EQ(PrintToString("Entered %s is too short", "PIN"), "Entered PIN is too short");
    EXPECT_EQ(PrintToString("100%% %s", "sure"), "100% sure");
    const std::string longWord(600, 'w');
    const std::string filled = PrintToString("Entered %s is too short", longWord);
    EXPECT_EQ(filled.size(), 511u);
    EXPECT_EQ(filled.substr(0, 8), "Entered ");
    // A format with anything but one plain %s never reaches printf.
    EXPECT_EQ(PrintToString("%s%s%n", "x"), "%s%s%n");
}

TEST(CheckBoxControlWords, Decode)
{
    struct Case {
        std::uint32_t word;
        bool hide, insensitive, active;
    };
    const Case cases[] = {
        {0, true, false, false},    {1, false, true, false},  {3, false, false, false},
        {5, false, true, true},     {7, false, false, true},  {6, true, false, false},
        {0x107, false, false, true}, {0xFFFFFFF8, true, false, false}, {0x105, false, true, true},
    };
    for (const Case& c : cases) {
        const CheckBoxControl::State state = CheckBoxControl::Decode(c.word);
        EXPECT_EQ(state.hide, c.hide) << c.word;
        EXPECT_EQ(state.insensitive, c.insensitive) << c.word;
        EXPECT_EQ(state.active, c.active) << c.word;
    }
}

TEST(CheckBoxControlWords, ReadExactlyFourBytesOrZero)
{
    struct Case {
        std::vector<std::vector<unsigned char>> writes; // written one after another, then closed
        std::uint32_t first, second;
    };
    const Case cases[] = {
        {{{7, 0, 0, 0, 5, 0, 0, 0}}, 7, 5},
        {{{7, 1}, {0, 0, 3}, {0, 0, 0}}, 0x107, 3}, // arrives in pieces
        {{{7, 0, 0, 0, 5, 0}}, 7, 0},               // short second word
        {{{7, 0}}, 0, 0},                           // short first word
        {{}, 0, 0},                                 // nothing at all
    };
    for (const Case& c : cases) {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        for (const auto& piece : c.writes) {
            ASSERT_EQ(write(fds[1], piece.data(), piece.size()), static_cast<ssize_t>(piece.size()));
        }
        close(fds[1]);
        EXPECT_EQ(CheckBoxControl::ReadWord(fds[0]), c.first);
        EXPECT_EQ(CheckBoxControl::ReadWord(fds[0]), c.second);
        close(fds[0]);
    }
    EXPECT_EQ(CheckBoxControl::ReadWord(-1), 0u) << "a read error gives 0";
}

TEST(CheckBoxControlWords, ShortReadsAreCompleted)
{
    // A writer that hands over one byte at a time, each only after the reader
    // has taken the previous one, so every read(2) returns a single byte.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const unsigned char bytes[8] = {0x07, 0x01, 0, 0, 0x03, 0, 0, 0};
        for (unsigned char byte : bytes) {
            if (write(fds[1], &byte, 1) != 1) {
                _exit(1);
            }
            int pending = 1;
            while (ioctl(fds[0], FIONREAD, &pending) == 0 && pending > 0) {
                sched_yield();
            }
        }
        _exit(0);
    }
    close(fds[1]);
    EXPECT_EQ(CheckBoxControl::ReadWord(fds[0]), 0x107u);
    EXPECT_EQ(CheckBoxControl::ReadWord(fds[0]), 3u);
    close(fds[0]);
    int status = 0;
    waitpid(child, &status, 0);
}

} // namespace
