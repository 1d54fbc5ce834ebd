// The password dialogs seen from the parent: the built helper driven with real
// key presses and clicks, its answer read back byte for byte.
#include "common/Blackbox.h"
#include "common/PasswordRequests.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;
using Clock = std::chrono::steady_clock;

const std::string kKey = "XVTUI_passwd=", kOldKey = "XVTUI_old_passwd=";

Request Pin(std::uint32_t saveBox, std::uint32_t dontCacheBox, const char* minLength = "0")
{
    return PinRequest(KeyContainerArgs(minLength), saveBox, dontCacheBox);
}

// Exact answers with status 0, or the cancel code with 110; OK is the left
// button. How the boxes follow their words and clicks is for the widget tests.
TEST(PasswordBlackbox, TheAnswerIsExactlyWhatWasTypedAndTicked)
{
    struct Case {
        const char* what;
        Request request;
        std::vector<Act> acts;
        std::string output;
    };
    const std::string cyrillic = "\xd0\xbf\xd0\xb8\xd0\xbd 1", no(kCancelledOutput); // "пин 1"
    const Act enter = Press("Return"), cancel = ClickButton(1);
    // Bytes that are not UTF-8 are shown replaced, without a (fatal) toolkit warning.
    PasswordRequestArgs notUtf8 = KeyContainerArgs("4");
    notUtf8.title = "\xe9t\xe9";
    notUtf8.header = "Carte \xff\xfe";
    notUtf8.readerName = "\xc3";
    notUtf8.passwordTerm = "PIN\xd0"; // also inside the warnings and the caption
    // Input closed before the control words leaves both at 0.
    Request noWords = Pin(7, 7);
    noWords.input = secure::String();
    const Request fresh = NewPasswordRequest({}), strict = NewPasswordRequest(KeyContainerArgs("4", "6"));
    const Request change = ChangePasswordRequest(KeyContainerArgs("3", "3"));
    const Case cases[] = {
        {"empty PIN, no minimum", Pin(3, 3), {enter}, PinAnswer(false, false, "")},
        {"keys inside the PIN", Pin(3, 3), {Type("XVTUI_passwd=x"), enter}, PinAnswer(false, false, "XVTUI_passwd=x")},
        {"Enter refused while too short", Pin(3, 3, "4"), {Type("abc"), enter, Type("d"), enter},
         PinAnswer(false, false, "abcd")},
        {"texts not UTF-8", PinRequest(notUtf8, 3, 3), {Type("abc"), enter, Type("d"), enter},
         PinAnswer(false, false, "abcd")},
        {"input closed before the words", noWords, {Type("abc"), enter}, PinAnswer(false, false, "abc")},
        // The new password is written unchanged, whatever it holds.
        {"new: Cyrillic", fresh, {Fill({cyrillic, cyrillic})}, kKey + cyrillic},
        {"new: empty", fresh, {Fill({"", ""})}, kKey},
        {"change: key inside the old", change, {Fill({"XVTUI_passwd=old", "n3w", "n3w"})},
         kOldKey + "XVTUI_passwd=old" + kKey + "n3w"},
        {"change: key ending the old", change, {Fill({"oXVTUI_passwd=", "n3w", "n3w"})},
         kOldKey + "oXVTUI_passwd=" + kKey + "n3w"},
        // Enter does nothing while the fields disagree (the widget tests hold the rules).
        {"new: one byte differs", strict, {Fill({"abcdef", "abcdeg"}), enter, cancel}, no},
        {"new: corrected after a refused Enter", strict,
         {Fill({"abcdef", "abcdeg"}), Press("BackSpace"), Type("f"), enter}, kKey + "abcdef"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ExpectOutput(c.request, c.acts, c.output);
    }
}

// Each key sets the time left back to "passwd_resume_time": "passwd_time" 2
// alone ends at the third tick, a key a second keeps it open.
TEST(PinBlackbox, TypingRestartsTheCountdownFromTheResumeTime)
{
    Sandbox sandbox;
    sandbox.SetLocal("passwd_time", 2);
    sandbox.SetLocal("passwd_resume_time", 3);
    XClient x;
    ShownDialog dialog(Pin(3, 3), sandbox, x);
    const auto shown = Clock::now();
    auto lastKey = shown;
    for (int key = 0; key < 4; ++key) {
        x.TypeText("7");
        lastKey = Clock::now();
        ASSERT_FALSE(dialog.Process().WaitForExit(1s)) << "ended after key " << key;
    }
    EXPECT_GT(Clock::now() - shown, 3500ms); // longer than the dialog lives without typing
    ASSERT_TRUE(dialog.Process().WaitForExit(kAnswerTimeout));
    const auto quiet = Clock::now() - lastKey;
    const Answer answer = dialog.Finish();
    EXPECT_EQ(dialog.Output(), kCancelledOutput);
    EXPECT_GT(quiet, 2500ms);
    EXPECT_LT(quiet, 5500ms);
}

} // namespace
