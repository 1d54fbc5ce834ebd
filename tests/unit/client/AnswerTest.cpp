// Decoding the helper's output and status, and the tool's command line.
#include "client/Answer.h"
#include "client/AskCommand.h"
#include "client/Request.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace xvtui::client;

RunResult Exited(std::string_view output, int status)
{
    RunResult run;
    run.output.assign(output);
    run.exited = true;
    run.exitStatus = status;
    return run;
}

TEST(RetText, OnlyRetAndADecimal32BitCodeIsAccepted)
{
    const std::pair<std::string_view, std::optional<std::uint32_t>> cases[] = {
        {"ret=0", 0u},
        {"ret=109", 109u},
        {"ret=2148532334", 2148532334u},
        {"ret=4294967295", 4294967295u},
        {"ret=0000000109", 109u},
        {"ret=4294967296", std::nullopt},
        {"ret=00000000109", std::nullopt},
        {"ret=", std::nullopt},
        {"ret=-1", std::nullopt},
        {"ret= 1", std::nullopt},
        {"ret=1\n", std::nullopt},
        {"ret=12a", std::nullopt},
        {"RET=1", std::nullopt},
        {"xret=1", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(ParseRetText(text), expected) << text;
    }
}

TEST(RetText, CodesHaveTheirNames)
{
    const std::pair<std::uint32_t, std::string_view> names[] = {
        {2148532334u, "cancelled"},    {2148073504u, "failed"},    {2147942487u, "bad arguments"},
        {2147746309u, "foreign exception"}, {109u, "broken pipe"}, {1114u, "no display"},
        {0u, "success"},               {110u, "unknown"},          {0x80100000u, "unknown"},
    };
    for (const auto& [code, name] : names)
        EXPECT_EQ(CodeName(code), name) << code;
}

TEST(Decode, MessageAnswersAndProtocolErrors)
{
    const Decoder decoder = MessageRequest(130, "text").decoder;
    struct Case {
        std::string_view output;
        int status;
        Outcome outcome;
        std::uint32_t code;
        std::optional<bool> flag;
    };
    const Case cases[] = {
        {"XVTUI_dont_show_warning=true", 0, Outcome::Answered, kSuccess, true},
        {"XVTUI_dont_show_warning=false", 0, Outcome::Answered, kSuccess, false},
        {"ret=2148532334", 110, Outcome::Refused, kCancelled, std::nullopt},
        {"ret=109", 109, Outcome::Refused, kBrokenPipe, std::nullopt},
        {"You should not try run this manualy\n", 1, Outcome::Usage, kFailed, std::nullopt},
        // Anything else breaks the protocol.
        {"You should not try run this manualy\n", 0, Outcome::Malformed, kFailed, std::nullopt},
        {"XVTUI_dont_show_warning=true\n", 0, Outcome::Malformed, kFailed, std::nullopt},
        {"XVTUI_dont_show_warning=truefalse", 0, Outcome::Malformed, kFailed, std::nullopt},
        {"XVTUI_dont_show_warning=", 0, Outcome::Malformed, kFailed, std::nullopt},
        {"XVTUI_dont_show_warning=yes", 0, Outcome::Malformed, kFailed, std::nullopt},
        {"XVTUI_dont_show_warning=true", 5, Outcome::Malformed, kFailed, std::nullopt},
        {"", 0, Outcome::Malformed, kFailed, std::nullopt},
        {"", 87, Outcome::Malformed, kFailed, std::nullopt},
        {"ret=2148532334XVTUI_dont_show_warning=true", 0, Outcome::Malformed, kFailed, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.output) + " / " + std::to_string(c.status));
        const Answer answer = Decode(Exited(c.output, c.status), decoder);
        EXPECT_EQ(answer.outcome, c.outcome) << answer.problem;
        EXPECT_EQ(answer.code, c.code);
        EXPECT_EQ(answer.Flag("XVTUI_dont_show_warning="), c.flag);
        EXPECT_EQ(answer.outcome == Outcome::Malformed, !answer.problem.empty());
    }
}

TEST(Decode, RunsThatDidNotEndNormally)
{
    const Decoder decoder = MessageRequest(0, "text").decoder;
    RunResult killed = Exited("XVTUI_dont_show_warning=true", 0);
    killed.exited = false;
    killed.termSignal = 11;
    EXPECT_EQ(Decode(killed, decoder).outcome, Outcome::Killed);

    RunResult late = Exited("", 0);
    late.exited = false;
    late.termSignal = 9;
    late.timedOut = true;
    EXPECT_EQ(Decode(late, decoder).outcome, Outcome::TimedOut);

    RunResult flood = Exited("ret=1", 1);
    flood.outputTruncated = true;
    EXPECT_EQ(Decode(flood, decoder).outcome, Outcome::Malformed);

    // The status keeps the code's low eight bits; a mismatch is reported.
    const Answer odd = Decode(Exited("ret=2148532334", 0), decoder);
    EXPECT_EQ(odd.outcome, Outcome::Refused);
    EXPECT_FALSE(odd.problem.empty());
}

// The password answers: keys back to back, the password last and unbounded.
TEST(KeyDecoder, PasswordLikeAnswers)
{
    const Decoder oneEntry = KeyDecoder({{"XVTUI_save_passwd=", ValueKind::Flag},
                                         {"XVTUI_dont_cache=", ValueKind::Flag},
                                         {"XVTUI_passwd=", ValueKind::Secret}});
    const Decoder threeEntry =
        KeyDecoder({{"XVTUI_old_passwd=", ValueKind::Secret}, {"XVTUI_passwd=", ValueKind::Secret}});
    struct Case {
        const Decoder* decoder;
        std::string_view output;
        std::vector<std::string_view> values; // empty: rejected
    };
    const std::string_view withNul("XVTUI_save_passwd=falseXVTUI_dont_cache=trueXVTUI_passwd=a\0b", 60);
    const Case cases[] = {
        {&oneEntry, "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=abc", {"true", "false", "abc"}},
        {&oneEntry, "XVTUI_save_passwd=falseXVTUI_dont_cache=falseXVTUI_passwd=", {"false", "false", ""}},
        {&oneEntry, "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=XVTUI_passwd=x",
         {"true", "false", "XVTUI_passwd=x"}},
        {&oneEntry, withNul, {"false", "true", std::string_view("a\0b", 3)}},
        {&oneEntry, "XVTUI_dont_cache=falseXVTUI_save_passwd=trueXVTUI_passwd=abc", {}},
        {&oneEntry, "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_pass", {}},
        {&oneEntry, "XVTUI_save_passwd=TrueXVTUI_dont_cache=falseXVTUI_passwd=a", {}},
        {&threeEntry, "XVTUI_old_passwd=oldXVTUI_passwd=new", {"old", "new"}},
        {&threeEntry, "XVTUI_old_passwd=XVTUI_passwd=", {"", ""}},
        // The new password may hold the key; the old one is cut at its first copy.
        {&threeEntry, "XVTUI_old_passwd=oXVTUI_passwd=nXVTUI_passwd=", {"o", "nXVTUI_passwd="}},
        {&threeEntry, "XVTUI_old_passwd=old", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.output));
        std::vector<Field> fields;
        std::string problem;
        const bool accepted = (*c.decoder)(c.output, fields, problem);
        ASSERT_EQ(accepted, !c.values.empty()) << problem;
        if (!accepted)
            continue;
        ASSERT_EQ(fields.size(), c.values.size());
        for (size_t i = 0; i < fields.size(); ++i)
            EXPECT_EQ(fields[i].value.view(), c.values[i]);
        EXPECT_TRUE(fields.back().secret);
    }
}

TEST(Request, MessageAndControlWords)
{
    const Request plain = MessageRequest(130, "Text %s");
    EXPECT_EQ(plain.arguments, (std::vector<std::string>{"VTDisplayMessage", "130", "Text %s"}));
    EXPECT_TRUE(plain.input.empty());
    EXPECT_EQ(MessageRequest("2x", "t", true).arguments,
              (std::vector<std::string>{"VTDisplayMessageEx", "2x", "t"}));

    secure::String input;
    AppendWord(input, 7);
    AppendWord(input, 0x01020304);
    ASSERT_EQ(input.size(), 8u);
    std::uint32_t words[2];
    std::memcpy(words, input.data(), sizeof words);
    EXPECT_EQ(words[0], 7u);
    EXPECT_EQ(words[1], 0x01020304u);
}

using Args = std::vector<std::string>;

TEST(AskCommand, CommandLines)
{
    struct Case {
        std::vector<std::string> args;
        std::optional<std::vector<std::string>> helperArguments; // nullopt: rejected
    };
    const Case cases[] = {
        {{"message", "Hello"}, Args{"VTDisplayMessage", "0", "Hello"}},
        {{"message", "--flags", "130", "Hello"}, Args{"VTDisplayMessage", "130", "Hello"}},
        {{"message", "--ex", "--flags", "2x", "Hi"}, Args{"VTDisplayMessageEx", "2x", "Hi"}},
        {{"--timeout", "1.5", "--reveal", "message", "Hi"}, Args{"VTDisplayMessage", "0", "Hi"}},
        {{"--helper", "/x/xvtui", "raw", "VTFoo", "a"}, Args{"VTFoo", "a"}},
        {{"raw"}, std::vector<std::string>{}}, // the helper without any keyword
        {{}, std::nullopt},
        {{"message"}, std::nullopt},
        {{"message", "a", "b"}, std::nullopt},
        {{"message", "--flags"}, std::nullopt},
        {{"message", "--colour", "red", "x"}, std::nullopt},
        {{"--timeout", "0", "message", "x"}, std::nullopt},
        {{"--timeout", "soon", "message", "x"}, std::nullopt},
        {{"--helper", "", "message", "x"}, std::nullopt},
        {{"--verbose", "message", "x"}, std::nullopt},
        {{"frobnicate", "x"}, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.args));
        std::string error;
        const auto command = ParseAskCommand(c.args, error);
        if (!c.helperArguments) {
            EXPECT_FALSE(command.has_value());
            EXPECT_FALSE(error.empty());
            continue;
        }
        ASSERT_TRUE(command.has_value()) << error;
        EXPECT_EQ(command->request.arguments, *c.helperArguments);
    }
    std::string error;
    const auto timed = ParseAskCommand({"--timeout", "1.5", "message", "x"}, error);
    ASSERT_TRUE(timed && timed->timeout);
    EXPECT_EQ(timed->timeout->count(), 1500);
}

TEST(AskCommand, HelperChoice)
{
    EXPECT_EQ(ChooseHelper("/a/xvtui", "/b/xvtui", "/c/bin/xvtui-ask"), "/a/xvtui");
    EXPECT_EQ(ChooseHelper("", "/b/xvtui", "/c/bin/xvtui-ask"), "/b/xvtui");
    EXPECT_EQ(ChooseHelper("", "", "/c/bin/xvtui-ask"), "/c/bin/xvtui");
    EXPECT_EQ(ChooseHelper("", nullptr, "/c/bin/xvtui-ask"), "/c/bin/xvtui");
    EXPECT_EQ(ChooseHelper("", nullptr, "xvtui-ask"), "./xvtui");
    EXPECT_EQ(ChooseHelper("", nullptr, "/xvtui-ask"), "/xvtui");
}

TEST(AskCommand, PrintoutHidesSecretsUnlessRevealed)
{
    Answer answer;
    answer.outcome = Outcome::Answered;
    answer.code = kSuccess;
    answer.exited = true;
    answer.exitStatus = 0;
    Field save{"XVTUI_save_passwd=", secure::String("true"), false};
    Field password{"XVTUI_passwd=", secure::String("s3cr3t"), true};
    answer.fields.push_back(std::move(save));
    answer.fields.push_back(std::move(password));

    const std::string hidden = FormatAnswer(answer, "", true, false);
    EXPECT_EQ(hidden, "XVTUI_save_passwd=true\nXVTUI_passwd=<hidden, 6 bytes>\nexit status: 0\n");
    EXPECT_NE(FormatAnswer(answer, "", true, true).find("XVTUI_passwd=s3cr3t"), std::string::npos);
    EXPECT_EQ(ExitCodeFor(answer), kAskAnswered);

    // A malformed answer of a secret request is not echoed.
    Answer broken;
    broken.outcome = Outcome::Malformed;
    broken.exited = true;
    broken.exitStatus = 0;
    broken.problem = "expected the key";
    EXPECT_EQ(FormatAnswer(broken, "XVTUI_passwd=s3cr3t", true, false).find("s3cr3t"), std::string::npos);
    EXPECT_NE(FormatAnswer(broken, "odd\x01", false, false).find("\"odd\\x01\""), std::string::npos);
    EXPECT_EQ(ExitCodeFor(broken), kAskError);

    Answer cancelled;
    cancelled.outcome = Outcome::Refused;
    cancelled.code = kCancelled;
    cancelled.exited = true;
    cancelled.exitStatus = 110;
    EXPECT_EQ(FormatAnswer(cancelled, "ret=2148532334", false, false),
              "ret=2148532334 (cancelled)\nexit status: 110\n");
    EXPECT_EQ(ExitCodeFor(cancelled), kAskRefused);
}

} // namespace
