// The requests the client sends and the answers it decodes ("ret=" codes, the
// message answer, password answers whose last value runs to the end), and the
// xvtui-ask tool's command line and printout.
#include "client/AskCommand.h"
#include "client/PasswordRequest.h"

#include <gtest/gtest.h>


namespace {

using namespace xvtui::client;
using namespace std::string_view_literals;
using Args = std::vector<std::string>;
using Views = std::vector<std::string_view>;

Answer DecodeExited(std::string_view output, int status, const Decoder& decoder)
{
    RunResult run;
    run.output.assign(output);
    run.exited = true;
    run.exitStatus = status;
    return Decode(run, decoder);
}

TEST(RetText, ExactlyADecimal32BitCodeWithItsName)
{
    const std::pair<std::string_view, std::optional<std::uint32_t>> texts[] = {
        {"ret=0", 0u}, {"ret=2148532334", 2148532334u}, {"ret=4294967295", 4294967295u}, {"ret=0000000109", 109u},
        {"ret=4294967296", {}}, {"ret=00000000109", {}}, {"ret=", {}}, {"ret=-1", {}}, {"ret= 1", {}},
        {"ret=1\n", {}}, {"ret=12a", {}}, {"RET=1", {}}, {"", {}},
    };
    for (const auto& [text, code] : texts)
        EXPECT_EQ(ParseRetText(text), code) << text;
    const std::pair<std::uint32_t, std::string_view> names[] = {
        {0u, "success"}, {2148532334u, "cancelled"}, {2148073504u, "failed"}, {2147942487u, "bad arguments"},
        {2147746309u, "foreign exception"}, {109u, "broken pipe"}, {1114u, "no display"}, {110u, "unknown"},
    };
    for (const auto& [code, name] : names)
        EXPECT_EQ(xvtui::protocol::ResultCodeName(code), name) << code;
}

TEST(Decode, MessageAnswersAndProtocolErrors)
{
    const Decoder decoder = MessageRequest(130, "text").decoder;
    const struct { std::string_view output; int status; Outcome outcome; std::uint32_t code; std::optional<bool> flag; }
        cases[] = {
            {"XVTUI_dont_show_warning=true", 0, Outcome::Answered, ResultCode::Answered, true},
            {"XVTUI_dont_show_warning=false", 0, Outcome::Answered, ResultCode::Answered, false},
            {"ret=2148532334", 110, Outcome::Refused, ResultCode::Cancelled, {}},
            {"You should not try run this manualy\n", 1, Outcome::Usage, ResultCode::Failed, {}},
            // Anything else breaks the protocol.
            {"You should not try run this manualy\n", 0, Outcome::Malformed, ResultCode::Failed, {}},
            {"XVTUI_dont_show_warning=true\n", 0, Outcome::Malformed, ResultCode::Failed, {}},
            {"XVTUI_dont_show_warning=true", 5, Outcome::Malformed, ResultCode::Failed, {}},
            {"ret=2148532334XVTUI_dont_show_warning=true", 0, Outcome::Malformed, ResultCode::Failed, {}},
        };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.output) + " / " + std::to_string(c.status));
        const Answer answer = DecodeExited(c.output, c.status, decoder);
        EXPECT_EQ(answer.outcome, c.outcome) << answer.problem;
        EXPECT_EQ(answer.code, c.code);
        EXPECT_EQ(answer.Flag(kDontShowWarningKey), c.flag);
        EXPECT_EQ(answer.problem.empty(), c.outcome != Outcome::Malformed);
    }
    // The status keeps the code's low eight bits; a mismatch is noted.
    EXPECT_FALSE(DecodeExited("ret=2148532334", 0, decoder).problem.empty());
}

// Keys back to back, flags exactly "true" or "false", the password last and
// running to the end whatever it holds. The change answer (decoder null) splits
// at the last key after which both passwords fit the limits (minOld, maxOld,
// minNew, maxNew), at the last key when none fits. No values: malformed.
TEST(Decode, PasswordAnswers)
{
    const Decoder pin = PinRequest({}, 3, 3).decoder, fresh = NewPasswordRequest({}).decoder;
    const std::string_view ambiguous = "XVTUI_old_passwd=abcdXVTUI_passwd=xXVTUI_passwd=y";
    const struct { const Decoder* decoder; PasswordLimits limits; std::string_view output; Views values; } cases[] = {
        {&pin, {}, "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=abc", {"true", "false", "abc"}},
        {&pin, {}, "XVTUI_save_passwd=falseXVTUI_dont_cache=trueXVTUI_passwd=", {"false", "true", ""}},
        {&pin, {}, "XVTUI_save_passwd=trueXVTUI_dont_cache=trueXVTUI_passwd=XVTUI_dont_cache=\0\n\xd0\xbf"sv,
         {"true", "true", "XVTUI_dont_cache=\0\n\xd0\xbf"sv}},
        {&pin, {}, "XVTUI_save_passwd=TrueXVTUI_dont_cache=falseXVTUI_passwd=abc", {}},
        {&pin, {}, "XVTUI_dont_cache=falseXVTUI_save_passwd=trueXVTUI_passwd=abc", {}},
        {&pin, {}, "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd", {}},
        {&fresh, {}, "XVTUI_passwd=aXVTUI_passwd=b", {"aXVTUI_passwd=b"}},
        {nullptr, {}, "XVTUI_old_passwd=oldXVTUI_passwd=new", {"old", "new"}},
        {nullptr, {}, ambiguous, {"abcdXVTUI_passwd=x", "y"}},
        {nullptr, {0, 4, 0, 0}, ambiguous, {"abcd", "xXVTUI_passwd=y"}},
        {nullptr, {0, 0, 4, 0}, ambiguous, {"abcd", "xXVTUI_passwd=y"}},
        {nullptr, {0, 2, 2, 0}, "XVTUI_old_passwd=\xd0\xb0\xd0\xb1XVTUI_passwd=xXVTUI_passwd=y", // characters
         {"\xd0\xb0\xd0\xb1", "xXVTUI_passwd=y"}},
        {nullptr, {10, 0, 10, 0}, ambiguous, {"abcdXVTUI_passwd=x", "y"}},
        {nullptr, {}, "XVTUI_old_passwd=abc", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.output));
        const Answer answer = DecodeExited(c.output, 0, c.decoder ? *c.decoder : ChangePasswordDecoder(c.limits));
        ASSERT_EQ(answer.outcome, c.values.empty() ? Outcome::Malformed : Outcome::Answered) << answer.problem;
        if (c.values.empty())
            continue;
        ASSERT_EQ(answer.fields.size(), c.values.size());
        for (size_t i = 0; i < c.values.size(); ++i)
            EXPECT_EQ(answer.fields[i].value.view(), c.values[i]) << i;
        EXPECT_EQ(answer.fields.back().key, kPasswdKey);
        EXPECT_TRUE(answer.fields.back().secret);
        EXPECT_EQ(answer.fields.front().secret, c.decoder != &pin); // the old password too, not the flags
    }
    // Many keys under length limits: the split leaves the new password one key long.
    std::string keys = "XVTUI_old_passwd=";
    for (int i = 0; i < 1000; ++i)
        keys += "XVTUI_passwd=";
    EXPECT_EQ(SplitChangeAnswer(std::string_view(keys).substr(17), {0, 0, 13, 13}), 999u * 13);
}

// One keyword, three dialogs: the last two arguments ask for the current and
// for a new password; only the one-entry dialog reads its two box words.
TEST(ClientRequest, PasswordCommandLinesAndInput)
{
    const PasswordRequestArgs args{"T", "H", "r", "c", "k", "RC", "CC", "KC", "P", "N", "0", "3", "8", "4", "12", "6"};
    Args line = {"VTQueryPinEx", "T", "H", "r", "c", "k", "RC", "CC", "KC", "P", "N", "0", "3", "8", "4", "12", "6",
                 "1", "0"};
    const Request pin = PinRequest(args, 0x107, 3);
    EXPECT_EQ(pin.arguments, line);
    const std::uint32_t words[] = {0x107, 3}; // in host byte order
    EXPECT_TRUE(pin.input == std::string_view(reinterpret_cast<const char*>(words), sizeof words));
    line[17] = "0";
    line[18] = "1";
    EXPECT_EQ(NewPasswordRequest(args).arguments, line);
    line[17] = "1";
    EXPECT_EQ(ChangePasswordRequest(args).arguments, line);
    EXPECT_TRUE(NewPasswordRequest(args).input.empty() && ChangePasswordRequest(args).input.empty());
    EXPECT_TRUE(pin.secretAnswer && NewPasswordRequest(args).secretAnswer && ChangePasswordRequest(args).secretAnswer);
}

TEST(AskCommand, CommandLines)
{
    PasswordRequestArgs max8;
    max8.maxPasswordLength = "8";
    const struct { Args args; std::optional<Request> request; } cases[] = { // nullopt: refused
        {{"message", "Hello"}, MessageRequest(0, "Hello")},
        {{"--timeout", "1.5", "message", "--ex", "--flags", "2x", "Hi"}, MessageRequest("2x", "Hi", true)},
        {{"--helper", "/x/xvtui", "raw", "VTFoo", "a"}, RawRequest({"VTFoo", "a"})},
        {{"pin", "--save-box", "7", "--dont-cache-box", "0x107"}, PinRequest({}, 7, 0x107)},
        {{"change-password", "--max", "8"}, ChangePasswordRequest(max8)},
        {{}, {}}, {{"message", "a", "b"}, {}}, {{"--timeout", "0", "message", "x"}, {}}, {{"frobnicate"}, {}},
        {{"new-password", "--save-box", "7"}, {}}, {{"pin", "--save-box", "4294967296"}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.args));
        std::string error;
        const std::optional<AskCommand> command = ParseAskCommand(c.args, error);
        ASSERT_EQ(command.has_value(), c.request.has_value()) << error;
        EXPECT_EQ(error.empty(), command.has_value());
        if (command) {
            EXPECT_EQ(command->request.arguments, c.request->arguments);
            EXPECT_TRUE(command->request.input == c.request->input.view());
        }
    }
}

// Secrets are printed as their length unless revealed, and a malformed answer
// that may hold one is never echoed.
TEST(AskCommand, PrintoutHidesSecretsUnlessRevealed)
{
    const Request request = PinRequest({}, 3, 3);
    const std::string_view good = "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=s3cr";
    const std::string_view bad = "XVTUI_save_passwd=yesXVTUI_dont_cache=falseXVTUI_passwd=s3cr";
    const Answer answered = DecodeExited(good, 0, request.decoder), broken = DecodeExited(bad, 0, request.decoder);
    const Answer cancelled = DecodeExited("ret=2148532334", 110, request.decoder);
    EXPECT_EQ(FormatAnswer(answered, good, true, false),
              "XVTUI_save_passwd=true\nXVTUI_dont_cache=false\nXVTUI_passwd=<hidden, 4 bytes>\nexit status: 0\n");
    EXPECT_NE(FormatAnswer(answered, good, true, true).view().find("\nXVTUI_passwd=s3cr\n"), std::string::npos);
    EXPECT_EQ(FormatAnswer(broken, bad, true, false).view().find("s3cr"), std::string::npos);
    EXPECT_EQ(FormatAnswer(cancelled, "ret=2148532334", true, false), "ret=2148532334 (cancelled)\nexit status: 110\n");
    EXPECT_EQ(std::vector({ExitCodeFor(answered), ExitCodeFor(cancelled), ExitCodeFor(broken)}),
              std::vector({kAskAnswered, kAskRefused, kAskError}));
}

} // namespace
