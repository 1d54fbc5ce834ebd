// The password/PIN request of the client: its command line, the two control
// words on standard input, xvtui-ask's box options, and reading the answer
// back (two flags, then the password up to the end of the output).
#include "client/AskCommand.h"
#include "client/PasswordRequest.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
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

// The two words as the helper reads them back from its standard input.
std::vector<std::uint32_t> Words(const Request& request)
{
    std::vector<std::uint32_t> words(request.input.size() / 4);
    std::memcpy(words.data(), request.input.data(), words.size() * 4);
    return words;
}

TEST(ClientPinRequest, AsksTheCurrentPasswordOnlyAndSendsTwoWords)
{
    PasswordRequestArgs args;
    args.title = "T";
    args.readerName = "r";
    args.passwordTerm = "PIN";
    args.triesLeft = "2";
    args.minPasswordLength = "4";
    const Request request = PinRequest(args, 0x107, 3);
    EXPECT_EQ(request.arguments,
              (std::vector<std::string>{"VTQueryPinEx", "T", "", "r", "", "", "Reader:", "Carrier:", "Container:",
                                        "PIN", "", "1", "2", "0", "4", "0", "0", "1", "0"}));
    EXPECT_EQ(request.arguments.size() + 1, 20u); // with argv[0]: the smallest valid command line
    EXPECT_EQ(request.input.size(), 8u);          // nothing but the two words
    EXPECT_EQ(Words(request), (std::vector<std::uint32_t>{0x107, 3}));
    EXPECT_TRUE(request.secretAnswer);
}

TEST(ClientPinRequest, AnswerHasTwoFlagsAndThePasswordToTheEnd)
{
    const Request request = PinRequest({}, 3, 3);
    struct Case {
        std::string_view output;
        bool answered;
        bool save = false;
        bool dontCache = false;
        std::string_view password = "";
    };
    const Case cases[] = {
        {"XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=abc", true, true, false, "abc"},
        {"XVTUI_save_passwd=falseXVTUI_dont_cache=trueXVTUI_passwd=", true, false, true, ""},
        // The password is whatever follows its key, keys and all.
        {"XVTUI_save_passwd=falseXVTUI_dont_cache=falseXVTUI_passwd=XVTUI_dont_cache=true", true, false, false,
         "XVTUI_dont_cache=true"},
        {"XVTUI_save_passwd=trueXVTUI_dont_cache=trueXVTUI_passwd=a\nb\xd0\xbf", true, true, true, "a\nb\xd0\xbf"},
        {"XVTUI_save_passwd=TrueXVTUI_dont_cache=falseXVTUI_passwd=abc", false},
        {"XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd", false},
        {"XVTUI_save_passwd=true XVTUI_dont_cache=falseXVTUI_passwd=abc", false},
        {"XVTUI_dont_cache=falseXVTUI_save_passwd=trueXVTUI_passwd=abc", false},
        {"XVTUI_save_passwd=trueXVTUI_passwd=abc", false},
        {"XVTUI_passwd=abc", false},
        {"", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.output));
        const Answer answer = DecodeOutput(request, c.output);
        if (!c.answered) {
            EXPECT_EQ(answer.outcome, Outcome::Malformed);
            EXPECT_TRUE(answer.fields.empty());
            continue;
        }
        ASSERT_EQ(answer.outcome, Outcome::Answered) << answer.problem;
        EXPECT_EQ(answer.Flag(kSavePasswdKey), c.save);
        EXPECT_EQ(answer.Flag(kDontCacheKey), c.dontCache);
        ASSERT_NE(answer.Find(kPasswdKey), nullptr);
        EXPECT_EQ(answer.Find(kPasswdKey)->value.view(), c.password);
        EXPECT_TRUE(answer.Find(kPasswdKey)->secret);
        EXPECT_FALSE(answer.Find(kSavePasswdKey)->secret);
    }
}

TEST(ClientPinRequest, AskToolTakesTheBoxWords)
{
    const struct {
        std::vector<std::string> options;
        std::optional<std::vector<std::uint32_t>> words; // nullopt: refused
    } cases[] = {
        {{}, std::vector<std::uint32_t>{3, 3}},
        {{"--save-box", "7", "--dont-cache-box", "0"}, std::vector<std::uint32_t>{7, 0}},
        {{"--dont-cache-box", "0x107", "--min", "4"}, std::vector<std::uint32_t>{3, 0x107}},
        {{"--save-box", "4294967295"}, std::vector<std::uint32_t>{0xFFFFFFFF, 3}},
        {{"--save-box", "010"}, std::vector<std::uint32_t>{10, 3}}, // decimal, not octal
        {{"--save-box", "4294967296"}, std::nullopt},
        {{"--save-box", "-1"}, std::nullopt},
        {{"--save-box", "+1"}, std::nullopt},
        {{"--save-box", " 1"}, std::nullopt},
        {{"--save-box", "7x"}, std::nullopt},
        {{"--save-box", "0x"}, std::nullopt},
        {{"--save-box", ""}, std::nullopt},
        {{"--save-box"}, std::nullopt},
        {{"--save", "1"}, std::nullopt},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args = {"pin"};
        args.insert(args.end(), c.options.begin(), c.options.end());
        SCOPED_TRACE(testing::PrintToString(args));
        std::string error;
        const std::optional<AskCommand> command = ParseAskCommand(args, error);
        if (!c.words) {
            EXPECT_FALSE(command);
            EXPECT_FALSE(error.empty());
            continue;
        }
        ASSERT_TRUE(command) << error;
        EXPECT_EQ(Words(command->request), *c.words);
        EXPECT_EQ(command->request.arguments.at(17), "1"); // the current password is asked
        EXPECT_EQ(command->request.arguments.at(18), "0");
    }

    // The box options belong to the one-entry dialog only.
    std::string error;
    EXPECT_FALSE(ParseAskCommand({"new-password", "--save-box", "7"}, error));
}

TEST(ClientPinRequest, AskToolHidesThePasswordUnlessRevealed)
{
    const Request request = PinRequest({}, 3, 3);
    const std::string_view output = "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=s3cr";
    const Answer answer = DecodeOutput(request, output);
    EXPECT_EQ(FormatAnswer(answer, output, request.secretAnswer, false),
              "XVTUI_save_passwd=true\nXVTUI_dont_cache=false\nXVTUI_passwd=<hidden, 4 bytes>\nexit status: 0\n");
    EXPECT_EQ(FormatAnswer(answer, output, request.secretAnswer, true),
              "XVTUI_save_passwd=true\nXVTUI_dont_cache=false\nXVTUI_passwd=s3cr\nexit status: 0\n");

    // A malformed answer may still hold the password: its raw bytes stay hidden.
    const std::string_view broken = "XVTUI_save_passwd=yesXVTUI_dont_cache=falseXVTUI_passwd=s3cr";
    const std::string text = FormatAnswer(DecodeOutput(request, broken), broken, request.secretAnswer, false);
    EXPECT_EQ(text.find("s3cr"), std::string::npos) << text;
}

} // namespace
