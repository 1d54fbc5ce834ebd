// The new-password and password-change requests of the client: their command
// lines, xvtui-ask's password options, and reading the answers back, above
// all the change answer whose two passwords may contain the key between them.
#include "client/AskCommand.h"
#include "client/PasswordRequest.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using namespace xvtui::client;

Answer DecodeOutput(const Request& request, std::string_view output)
{
    RunResult run;
    run.output.assign(output);
    run.exited = true;
    run.exitStatus = 0;
    return Decode(run, request.decoder);
}

TEST(ClientPasswordRequest, CommandLinesCarryTheArgumentsInOrderAndTheFlags)
{
    PasswordRequestArgs args;
    args.title = "T";
    args.header = "H";
    args.readerName = "r";
    args.carrierName = "c";
    args.containerName = "k";
    args.passwordTerm = "PIN";
    args.newPasswordTerm = "new PIN";
    args.carrierActive = "0";
    args.triesLeft = "3";
    args.maxPasswordLength = "8";
    args.minPasswordLength = "4";
    args.maxNewPasswordLength = "12";
    args.minNewPasswordLength = "6";
    const std::vector<std::string> common = {"VTQueryPinEx", "T", "H", "r", "c", "k", "Reader:", "Carrier:",
                                             "Container:", "PIN", "new PIN", "0", "3", "8", "4", "12", "6"};
    std::vector<std::string> expected = common;
    expected.insert(expected.end(), {"0", "1"});
    EXPECT_EQ(NewPasswordRequest(args).arguments, expected);
    expected = common;
    expected.insert(expected.end(), {"1", "1"});
    EXPECT_EQ(ChangePasswordRequest(args).arguments, expected);
    EXPECT_TRUE(NewPasswordRequest(args).secretAnswer);
    EXPECT_TRUE(ChangePasswordRequest(args).secretAnswer);
    EXPECT_TRUE(NewPasswordRequest(args).input.empty()); // neither dialog reads standard input
    EXPECT_TRUE(ChangePasswordRequest(args).input.empty());
}

TEST(ClientPasswordRequest, NewPasswordAnswerRunsToTheEnd)
{
    const Request request = NewPasswordRequest({});
    const struct {
        std::string_view output;
        std::optional<std::string_view> password; // nullopt: malformed
    } cases[] = {
        {"XVTUI_passwd=secret", "secret"},
        {"XVTUI_passwd=", ""},
        {"XVTUI_passwd=aXVTUI_passwd=b", "aXVTUI_passwd=b"},
        {"XVTUI_passwd=\n\xd0\xbf", "\n\xd0\xbf"},
        {"XVTUI_old_passwd=aXVTUI_passwd=b", std::nullopt},
        {"XVTUI_passwd", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.output));
        const Answer answer = DecodeOutput(request, c.output);
        if (!c.password) {
            EXPECT_EQ(answer.outcome, Outcome::Malformed);
            continue;
        }
        ASSERT_EQ(answer.outcome, Outcome::Answered);
        ASSERT_EQ(answer.fields.size(), 1u);
        EXPECT_EQ(answer.fields[0].key, kPasswdKey);
        EXPECT_EQ(answer.fields[0].value.view(), *c.password);
        EXPECT_TRUE(answer.fields[0].secret);
    }
}

// The change answer: the split is the last key after which both parts fit
// the request's limits (the last key at all when none fits).
TEST(ClientPasswordRequest, ChangeAnswerSplitsAtTheLastKeyThatFitsTheLimits)
{
    struct Case {
        const char* what;
        PasswordLimits limits; // minOld, maxOld, minNew, maxNew
        std::string_view output;
        std::optional<std::string_view> oldPassword; // nullopt: malformed
        std::string_view newPassword;
    };
    const Case cases[] = {
        {"plain", {}, "XVTUI_old_passwd=oldXVTUI_passwd=new", "old", "new"},
        {"both empty", {}, "XVTUI_old_passwd=XVTUI_passwd=", "", ""},
        {"old holds the key", {}, "XVTUI_old_passwd=aXVTUI_passwd=bXVTUI_passwd=new", "aXVTUI_passwd=b", "new"},
        {"old is the key", {}, "XVTUI_old_passwd=XVTUI_passwd=XVTUI_passwd=n", "XVTUI_passwd=", "n"},
        {"old ends with the key", {}, "XVTUI_old_passwd=oXVTUI_passwd=XVTUI_passwd=", "oXVTUI_passwd=", ""},
        {"old holds the key, limits agree", {4, 0, 3, 8},
         "XVTUI_old_passwd=aXVTUI_passwd=bXVTUI_passwd=new", "aXVTUI_passwd=b", "new"},
        // New passwords that hold the key: right only where the limits rule
        // the later splits out.
        {"new holds the key, old maximum", {0, 4, 0, 0}, "XVTUI_old_passwd=abcdXVTUI_passwd=xXVTUI_passwd=y", "abcd",
         "xXVTUI_passwd=y"},
        {"new holds the key, new minimum", {0, 0, 4, 0}, "XVTUI_old_passwd=abcdXVTUI_passwd=xXVTUI_passwd=y", "abcd",
         "xXVTUI_passwd=y"},
        {"maximum counts characters", {0, 2, 2, 0},
         "XVTUI_old_passwd=\xd0\xb0\xd0\xb1XVTUI_passwd=xXVTUI_passwd=y", "\xd0\xb0\xd0\xb1", "xXVTUI_passwd=y"},
        {"ambiguous: the last key", {}, "XVTUI_old_passwd=abcdXVTUI_passwd=xXVTUI_passwd=y", "abcdXVTUI_passwd=x",
         "y"},
        {"nothing fits: the last key", {10, 0, 10, 0}, "XVTUI_old_passwd=aXVTUI_passwd=bXVTUI_passwd=c",
         "aXVTUI_passwd=b", "c"},
        {"no new key", {}, "XVTUI_old_passwd=abc", std::nullopt, ""},
        {"no old key", {}, "XVTUI_passwd=abc", std::nullopt, ""},
        {"key split by the old key", {}, "XVTUI_old_passwd=XVTUI_passwd", std::nullopt, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Answer answer = DecodeOutput(Request{{}, {}, ChangePasswordDecoder(c.limits), true}, c.output);
        if (!c.oldPassword) {
            EXPECT_EQ(answer.outcome, Outcome::Malformed);
            continue;
        }
        ASSERT_EQ(answer.outcome, Outcome::Answered) << answer.problem;
        ASSERT_EQ(answer.fields.size(), 2u);
        EXPECT_EQ(answer.fields[0].key, kOldPasswdKey);
        EXPECT_EQ(answer.fields[0].value.view(), *c.oldPassword);
        EXPECT_EQ(answer.fields[1].key, kPasswdKey);
        EXPECT_EQ(answer.fields[1].value.view(), c.newPassword);
        EXPECT_TRUE(answer.fields[0].secret && answer.fields[1].secret);
    }
}

// The limits are read as the helper reads its numbers; what it would refuse
// limits nothing.
TEST(ClientPasswordRequest, LimitsFollowTheHelpersNumberRule)
{
    const struct {
        const char* text;
        std::int32_t limit;
    } cases[] = {{"", 0}, {"7", 7}, {" 7", 7}, {"+7", 7}, {"-1", -1}, {"7 ", 0}, {"0x10", 0}, {"x", 0},
                 {"4294967297", 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        PasswordRequestArgs args;
        args.minPasswordLength = c.text;
        args.maxNewPasswordLength = c.text;
        const PasswordLimits limits = LimitsOf(args);
        EXPECT_EQ(limits.minOld, c.limit);
        EXPECT_EQ(limits.maxNew, c.limit);
        EXPECT_EQ(limits.maxOld, 0);
        EXPECT_EQ(limits.minNew, 0);
    }
}

TEST(ClientPasswordRequest, AskToolOptionsFillTheirArguments)
{
    std::string error;
    const std::optional<AskCommand> command = ParseAskCommand(
        {"--reveal", "change-password", "--title", "T", "--header", "H", "--reader", "r", "--carrier", "c",
         "--container", "k", "--reader-caption", "RC", "--carrier-caption", "CC", "--container-caption", "KC",
         "--term", "PIN", "--new-term", "N", "--carrier-active", "0", "--tries", "2", "--max", "8", "--min", "4",
         "--max-new", "40", "--min-new", "6"},
        error);
    ASSERT_TRUE(command) << error;
    EXPECT_TRUE(command->reveal);
    EXPECT_EQ(command->request.arguments,
              (std::vector<std::string>{"VTQueryPinEx", "T", "H", "r", "c", "k", "RC", "CC", "KC", "PIN", "N", "0",
                                        "2", "8", "4", "40", "6", "1", "1"}));

    // The change decoder knows the limits given: the old password has at most
    // 8 characters, so the key inside it cannot end it.
    const Answer answer = DecodeOutput(command->request, "XVTUI_old_passwd=old1XVTUI_passwd=longer1XVTUI_passwd=x");
    ASSERT_EQ(answer.outcome, Outcome::Answered);
    EXPECT_EQ(answer.fields[0].value.view(), "old1");

    const std::optional<AskCommand> plain = ParseAskCommand({"new-password"}, error);
    ASSERT_TRUE(plain) << error;
    EXPECT_EQ(plain->request.arguments,
              (std::vector<std::string>{"VTQueryPinEx", "", "", "", "", "", "Reader:", "Carrier:", "Container:",
                                        "password", "", "1", "65535", "0", "0", "0", "0", "0", "1"}));

    const std::vector<std::string> bad[] = {
        {"new-password", "--tries"},          // no value
        {"new-password", "--save", "1"},      // not a password option
        {"change-password", "extra"},         // no positional arguments
        {"new-password", "--min-new", "1", "--max"},
    };
    for (const auto& args : bad) {
        SCOPED_TRACE(args.back());
        error.clear();
        EXPECT_FALSE(ParseAskCommand(args, error));
        EXPECT_FALSE(error.empty());
    }
}

} // namespace
