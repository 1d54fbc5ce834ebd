// The request parsers from argv, without a display: the number rule, the
// message request and the twenty arguments of the password request.
#include "protocol/MessageRequest.h"
#include "protocol/Number.h"
#include "protocol/PasswordRequest.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using namespace xvtui::protocol;

TEST(WholeNumber, WholeTextBase10)
{
    const struct {
        const char* text;
        bool ok;
        int value;
    } cases[] = {
        {"12", true, 12}, {"12x", false, -1},  {"", true, 0},    {" 1", true, 1},  {"+1", true, 1},
        {"-1", true, -1}, {"1 ", false, -1},   {"0x10", false, -1}, {"010", true, 10}, {"-", false, -1},
        {"2147483647", true, INT_MAX}, {"4294967297", true, 1}, // beyond 32 bits: the low bits
        {nullptr, false, -1},
    };
    for (const auto& c : cases) {
        const std::optional<std::int32_t> value = ParseWholeNumber(c.text);
        EXPECT_EQ(value.has_value(), c.ok) << '"' << (c.text ? c.text : "(null)") << '"';
        EXPECT_EQ(value.value_or(-1), c.value) << '"' << (c.text ? c.text : "(null)") << '"';
    }
}

// argv of any length from strings.
struct Argv {
    explicit Argv(std::vector<std::string> args) : strings(std::move(args))
    {
        for (std::string& arg : strings)
            pointers.push_back(arg.data());
        pointers.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(strings.size()); }
    std::vector<std::string> strings;
    std::vector<char*> pointers;
};

TEST(MessageRequest, ExactlyFourArgumentsAndWholeFlags)
{
    const struct {
        std::vector<std::string> args;
        bool ok;
        bool okCancel;
        bool oldKeys;
    } cases[] = {
        {{"xvtui", "VTDisplayMessage", "130", "text"}, true, true, true},
        {{"xvtui", "VTDisplayMessage", "2", "text"}, true, true, false},
        {{"xvtui", "VTDisplayMessage", "-1", "text"}, true, true, true}, // every bit set
        {{"xvtui", "VTDisplayMessage", "", ""}, true, false, false},
        {{"xvtui", "VTDisplayMessage", "0x80", "text"}, false, false, false},
        {{"xvtui", "VTDisplayMessage", "128 ", "text"}, false, false, false},
        {{"xvtui", "VTDisplayMessage", "0"}, false, false, false},
        {{"xvtui", "VTDisplayMessage", "0", "text", "more"}, false, false, false},
    };
    for (const auto& c : cases) {
        Argv argv(c.args);
        const std::optional<MessageRequest> request = ParseMessageRequest(argv.argc(), argv.pointers.data());
        ASSERT_EQ(request.has_value(), c.ok) << c.args.size() << " arguments, flags " << c.args[2];
        if (!request)
            continue;
        EXPECT_EQ(request->OkCancel(), c.okCancel) << c.args[2];
        EXPECT_EQ(request->OldKeysWarning(), c.oldKeys) << c.args[2];
        EXPECT_EQ(request->text, c.args[3]);
    }
    char* nullText[] = {const_cast<char*>("xvtui"), const_cast<char*>("VTDisplayMessage"), const_cast<char*>("0"),
                        nullptr};
    EXPECT_EQ(ParseMessageRequest(4, nullText)->text, "");
}

// A valid one-entry request, a distinct value in every field, with argv[index] = text.
std::vector<std::string> Args(int index = 0, const char* text = "xvtui")
{
    std::vector<std::string> args = {"xvtui", "VTQueryPinEx", "Title", "Header", "Reader 1", "Carrier 2",
                                     "Container 3", "Reader:", "Carrier:", "Container:", "PIN", "new PIN",
                                     "0", "3", "8", "4", "16", "6", "1", "0"};
    args[index] = text;
    return args;
}

std::optional<PasswordRequest> Parse(std::vector<std::string> args)
{
    Argv argv(std::move(args));
    return ParsePasswordRequest(argv.argc(), argv.pointers.data());
}

TEST(PasswordRequest, TwentyArgumentsAtLeastAndWholeIntegers)
{
    std::vector<std::string> args = Args();
    args.push_back("12a"); // beyond the twentieth nothing is read
    EXPECT_TRUE(Parse(args));
    args.resize(19);
    EXPECT_FALSE(Parse(args));
    EXPECT_FALSE(Parse({}));
    // Each of the eight integers is converted, and only a whole text converts.
    for (int index = 12; index <= 19; ++index) {
        for (const char* bad : {"12a", "1 ", "0x10"}) {
            SCOPED_TRACE(std::to_string(index) + ": " + bad);
            EXPECT_FALSE(Parse(Args(index, bad)));
        }
    }
    const std::pair<const char*, int> good[] = {{" 1", 1}, {"+1", 1}, {"-1", -1}, {"", 0}};
    for (const auto& [text, value] : good)
        EXPECT_EQ(Parse(Args(13, text))->info.triesLeft, value) << '"' << text << '"';
}

TEST(PasswordRequest, FillsTheRecord)
{
    const PasswordRequest request = *Parse(Args());
    const PasswordDialogInfo& i = request.info;
    EXPECT_EQ(i.title + "|" + i.header + "|" + i.readerName + "|" + i.carrierName + "|" + i.containerName + "|" +
                  i.readerCaption + "|" + i.carrierCaption + "|" + i.containerCaption + "|" + i.passwordTerm + "|" +
                  i.newPasswordTerm,
              "Title|Header\n|Reader 1|Carrier 2|Container 3|Reader:|Carrier:|Container:|PIN|new PIN");
    EXPECT_FALSE(i.carrierActive);
    EXPECT_EQ(std::vector<std::int64_t>({i.triesLeft, i.maxPasswordLength, i.minPasswordLength,
                                         i.maxNewPasswordLength, i.minNewPasswordLength, request.kind}),
              std::vector<std::int64_t>({3, 8, 4, 16, 6, 1}));
    EXPECT_TRUE(Parse(Args(12, "-2"))->info.carrierActive);
}

// Any non-zero flag asks: 1 current, 2 new, 3 both, 0 nothing.
TEST(PasswordRequest, FlagsChooseTheKind)
{
    const struct {
        const char* needPassword;
        const char* needNewPassword;
        int kind;
    } cases[] = {{"0", "0", 0}, {"1", "0", 1}, {"0", "1", 2}, {"1", "1", 3}, {"5", "-3", 3}, {"", "7", 2}};
    for (const auto& c : cases) {
        std::vector<std::string> args = Args(18, c.needPassword);
        args[19] = c.needNewPassword;
        EXPECT_EQ(Parse(args)->kind, c.kind) << c.needPassword << "/" << c.needNewPassword;
    }
}

} // namespace
