// The new-password and password-change dialogs seen from the parent: the
// built helper runs as the provider runs it, the fields are filled with real
// key presses (Tab between them, Enter at the end), and the answer on the
// pipe is read back byte for byte.
#include "client/PasswordRequest.h"
#include "common/Blackbox.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;

PasswordRequestArgs Args(const char* minPassword, const char* minNewPassword)
{
    PasswordRequestArgs args;
    args.title = "PIN";
    args.header = "Choose the PIN of the key container";
    args.readerName = "Reader 0";
    args.carrierName = "Carrier 17";
    args.containerName = "keys";
    args.passwordTerm = "PIN";
    args.minPasswordLength = minPassword;
    args.minNewPasswordLength = minNewPassword;
    return args;
}

// Types each text into the next field, Tab between them, then Enter.
void FillAndEnter(XClient& x, const std::vector<std::string>& fields)
{
    for (size_t i = 0; i < fields.size(); ++i) {
        if (i > 0)
            x.PressKey("Tab");
        x.TypeText(fields[i]);
    }
    x.PressKey("Return");
}

const std::string kKey = "XVTUI_passwd=";
const std::string kOldKey = "XVTUI_old_passwd=";

TEST(NewPasswordBlackbox, TypedTwiceThenEnterAnswersTheNewPassword)
{
    const char* const passwords[] = {"n3w-Secret!", "aXVTUI_passwd=b", "XVTUI_passwd=",
                                     "\xd0\xbf\xd0\xb0\xd1\x80\xd0\xbe\xd0\xbb\xd1\x8c 1", ""};
    for (const std::string password : passwords) {
        SCOPED_TRACE(password);
        Sandbox sandbox;
        XClient x;
        ShownDialog dialog(NewPasswordRequest(Args("0", "0")), sandbox, x);
        FillAndEnter(x, {password, password});
        const Answer answer = dialog.Finish();

        EXPECT_EQ(dialog.Output(), kKey + password); // written unchanged, nothing after it
        EXPECT_EQ(answer.exitStatus, 0);
        ASSERT_EQ(answer.outcome, Outcome::Answered) << answer.problem;
        ASSERT_NE(answer.Find(kKey), nullptr);
        EXPECT_EQ(answer.Find(kKey)->value.view(), password);
    }
}

TEST(ChangePasswordBlackbox, TypedThreeTimesThenEnterAnswersOldAndNew)
{
    struct Case {
        std::string current;
        std::string newPassword;
    };
    const Case cases[] = {
        {"0ld-PIN", "n3w-PIN"},
        {"XVTUI_passwd=old", "n3w"},              // the key inside the old password
        {"oXVTUI_passwd=", "n3w"},                // ... and at its end
        {"\xd1\x81\xd1\x82\xd0\xb0\xd1\x80", "new"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.current);
        Sandbox sandbox;
        XClient x;
        ShownDialog dialog(ChangePasswordRequest(Args("3", "3")), sandbox, x);
        FillAndEnter(x, {c.current, c.newPassword, c.newPassword});
        const Answer answer = dialog.Finish();

        EXPECT_EQ(dialog.Output(), kOldKey + c.current + kKey + c.newPassword);
        EXPECT_EQ(answer.exitStatus, 0);
        ASSERT_EQ(answer.outcome, Outcome::Answered) << answer.problem;
        ASSERT_TRUE(answer.Find(kOldKey) && answer.Find(kKey));
        EXPECT_EQ(answer.Find(kOldKey)->value.view(), c.current);
        EXPECT_EQ(answer.Find(kKey)->value.view(), c.newPassword);
    }
}

// While the fields disagree or are too short, OK is insensitive and Enter
// does nothing: the dialog is still there to be cancelled afterwards, and
// what it answers is the cancel code, not a password.
TEST(NewPasswordBlackbox, EnterIsRefusedUntilTheFieldsAgreeAndAreLongEnough)
{
    struct Case {
        const char* what;
        bool change;
        std::vector<std::string> fields;
    };
    const Case cases[] = {
        {"new: one byte differs", false, {"abcdef", "abcdeg"}},
        {"new: confirmation a prefix", false, {"abcdef", "abcde"}},
        {"new: equal but short", false, {"abc", "abc"}},
        {"change: new ones differ", true, {"current", "abcdef", "abcdeF"}},
        {"change: current too short", true, {"cur", "abcdef", "abcdef"}},
        {"change: new too short", true, {"current", "abc", "abc"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Sandbox sandbox;
        XClient x;
        const PasswordRequestArgs args = Args("4", "6");
        ShownDialog dialog(c.change ? ChangePasswordRequest(args) : NewPasswordRequest(args), sandbox, x);
        FillAndEnter(x, c.fields);
        x.PressKey("Return"); // a second try changes nothing either

        // OK on the left, Cancel on the right of the bottom row.
        const std::vector<Rect> buttons = x.BottomButtonRow(dialog.Win());
        ASSERT_EQ(buttons.size(), 2u);
        x.ClickCenter(buttons[1]);
        const Answer answer = dialog.Finish();

        EXPECT_EQ(dialog.Output(), "ret=2148532334");
        EXPECT_EQ(answer.outcome, Outcome::Refused);
        EXPECT_EQ(answer.exitStatus, 110);
    }
}

// Fixing the confirmation after a refused Enter makes the next Enter count.
TEST(NewPasswordBlackbox, CorrectedConfirmationIsAccepted)
{
    Sandbox sandbox;
    XClient x;
    ShownDialog dialog(NewPasswordRequest(Args("0", "6")), sandbox, x);
    FillAndEnter(x, {"abcdef", "abcdeg"});
    x.PressKey("BackSpace");
    x.TypeText("f");
    x.PressKey("Return");
    const Answer answer = dialog.Finish();
    EXPECT_EQ(dialog.Output(), kKey + "abcdef");
    EXPECT_EQ(answer.exitStatus, 0);
}

} // namespace
