// The new-password (two-entry) and password-change (three-entry) dialogs on a
// real X server: when OK may be pressed, which warnings show in which order,
// and the confirmation field's first focus.
#include "PasswordGuiSupport.h"

namespace {

using namespace pwtest;
using NewPasswordDialogs = PasswordGui;

const std::string kNotEqual = "Input and confirmation do not match";
const std::string kNewNotSecure = "Entered PIN is not secure";
const std::string kNewTooShort = "Entered PIN is too short";
const std::string kCurrentTooShort = "Entered password is too short";

// With Caps Lock on and the confirmation focused: mismatch, not secure, Caps
// Lock; a fourth warning (too short) pushes Caps Lock out.
TEST_F(NewPasswordDialogs, WarningOrderWithCapsLock)
{
    SetCapsLock(true);
    const struct {
        int kind, minNew;
        const char* confirmation;
        std::string hint;
    } cases[] = {
        {2, 0, "abd", Lines(kNotEqual, kNewNotSecure, "Caps Lock button is on")},
        {2, 8, "ab", Lines(kNotEqual, kNewTooShort, kNewNotSecure)},
        {3, 8, "ab", Lines(kNotEqual, kNewTooShort, kNewNotSecure)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        Dialog d(c.kind, Request(0, c.minNew));
        d.Show(); // the focus-in reads the real Caps Lock state
        d.Fill(kNew, "abc");
        d.Focus(kConfirm);
        d.Fill(kConfirm, c.confirmation);
        EXPECT_EQ(d.Hint(), c.hint);
        EXPECT_FALSE(d.OkSensitive());
    }
}

// Strength is judged from the confirmation field's first focus-in on, and a
// weak password is only warned about.
TEST_F(NewPasswordDialogs, NotSecureWarningWaitsForTheConfirmationFocus)
{
    for (int kind : {2, 3}) {
        SCOPED_TRACE(kind);
        Dialog d(kind, Request());
        d.Show();
        const auto both = [&](const char* text) {
            d.Fill(kNew, text);
            d.Fill(kConfirm, text); // set without focusing it
            return d.Hint();
        };
        d.Focus(kNew);
        EXPECT_EQ(both("aaaa"), Lines());
        d.Focus(kConfirm);
        EXPECT_EQ(d.Hint(), Lines(kNewNotSecure));
        EXPECT_TRUE(d.OkSensitive());
        d.Focus(kNew);
        EXPECT_EQ(both("aaab"), Lines(kNewNotSecure)); // still judged after the focus left
        EXPECT_EQ(both("abcd"), Lines());
    }
}

// OK needs equal new fields and every minimum; a too-short warning names the
// current secret while that one is short, then the new one.
TEST_F(NewPasswordDialogs, OkNeedsEqualFieldsOfTheMinimumLengths)
{
    const struct {
        const char* current; // null: the two-entry dialog
        const char* newPassword;
        const char* confirmation;
        bool ok;
        std::string hint;
    } cases[] = {
        {nullptr, "abcdef", "abcdef", true, Lines()},
        {nullptr, "abc", "abc", false, Lines(kNewTooShort)},
        {nullptr, "abcdefgh", "abcdefgi", false, Lines(kNotEqual)},
        {nullptr, "abcdefgh", "abcdefg", false, Lines(kNotEqual)},
        {nullptr, "abcdefg", "abcdefgh", false, Lines(kNotEqual)},
        {nullptr, "ab", "abcdefgh", false, Lines(kNotEqual, kNewTooShort)},
        {"12", "ab", "ab", false, Lines(kCurrentTooShort)},
        {"123", "ab", "ab", false, Lines(kNewTooShort)},
        {"123", "abcdef", "abcdef", true, Lines()},
        {"12", "abcdef", "abcde", false, Lines(kNotEqual, kCurrentTooShort)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.current ? c.current : "-") + " / " + c.newPassword + " / " + c.confirmation);
        Dialog d(c.current ? 3 : 2, Request(3, 6));
        if (c.current)
            d.Fill(kCurrent, c.current);
        d.Fill(kNew, c.newPassword);
        d.Fill(kConfirm, c.confirmation);
        EXPECT_EQ(d.OkSensitive(), c.ok);
        EXPECT_EQ(d.Hint(), c.hint);
    }
}

} // namespace
