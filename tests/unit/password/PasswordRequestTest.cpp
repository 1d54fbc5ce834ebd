// The "VTQueryPinEx" command line, parsed before any window exists: DISPLAY is
// unset, so a dialog built by mistake would fail with GTK's code instead.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "app/DialogFactory.h"
#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "dialogs/password/PasswordDialog.h"

namespace {

const char kBadArgs[] = "Error in function: CreatePasswordDialog(...) : Bad args in PasswordDialog constructor\n";

// A valid one-entry request, a distinct value in every field, with argv[index] = text.
std::vector<std::string> Args(int index = 0, const char* text = "xvtui")
{
    std::vector<std::string> args = {"xvtui", "VTQueryPinEx", "Title", "Header", "Reader 1", "Carrier 2",
                                     "Container 3", "Reader:", "Carrier:", "Container:", "PIN", "new PIN",
                                     "0", "3", "8", "4", "16", "6", "1", "0"};
    args[index] = text;
    return args;
}

// Parses `args`, or the factory makes the dialog; the refusal's exact code and
// text are checked by the caller.
PasswordDialog::Request Parse(std::vector<std::string> args, bool factory = false)
{
    unsetenv("DISPLAY");
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    if (factory)
        DialogFactory::CreateDialog("VTQueryPinEx", static_cast<int>(args.size()), argv.data());
    return PasswordDialog::ParseArguments(static_cast<int>(args.size()), argv.data());
}

void ExpectRefused(const std::vector<std::string>& args, const char* message, bool factory = false)
{
    try {
        Parse(args, factory);
        ADD_FAILURE() << "accepted";
    } catch (const xvtui_exception& error) {
        EXPECT_EQ(error.GetCode(), ResultCode::BadArgs);
        EXPECT_STREQ(error.what(), message);
    }
}

TEST(PasswordRequest, TwentyArgumentsAtLeastAndWholeIntegers)
{
    std::vector<std::string> args = Args();
    args.push_back("12a"); // beyond the twentieth nothing is read
    EXPECT_NO_THROW(Parse(args));
    args.resize(19);
    ExpectRefused(args, kBadArgs);
    ExpectRefused({}, kBadArgs);
    // Each of the eight integers is converted, and only a whole text converts.
    for (int index = 12; index <= 19; ++index) {
        for (const char* bad : {"12a", "1 ", "0x10"}) {
            SCOPED_TRACE(std::to_string(index) + ": " + bad);
            ExpectRefused(Args(index, bad), kBadArgs);
        }
    }
    const std::pair<const char*, int> good[] = {{" 1", 1}, {"+1", 1}, {"-1", -1}, {"", 0}};
    for (const auto& [text, value] : good)
        EXPECT_EQ(Parse(Args(13, text)).info.triesLeft, value) << '"' << text << '"';
}

TEST(PasswordRequest, FillsTheRecord)
{
    const PasswordDialog::Request request = Parse(Args());
    const PasswordDialogInfo& i = request.info;
    EXPECT_EQ(i.title + "|" + i.header + "|" + i.readerName + "|" + i.carrierName + "|" + i.containerName + "|" +
                  i.readerCaption + "|" + i.carrierCaption + "|" + i.containerCaption + "|" + i.passwordTerm + "|" +
                  i.newPasswordTerm,
              "Title|Header\n|Reader 1|Carrier 2|Container 3|Reader:|Carrier:|Container:|PIN|new PIN");
    EXPECT_FALSE(i.carrierActive);
    EXPECT_EQ(std::vector<std::int64_t>({i.triesLeft, i.maxPasswordLength, i.minPasswordLength,
                                         i.maxNewPasswordLength, i.minNewPasswordLength, request.kind}),
              std::vector<std::int64_t>({3, 8, 4, 16, 6, 1}));
    EXPECT_TRUE(Parse(Args(12, "-2")).info.carrierActive);
}

// Any non-zero flag asks: 1 current, 2 new, 3 both; nothing asked is the
// factory's creation error, and a bad integer its parse error, before any
// window (not GTK's 1114).
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
        EXPECT_EQ(Parse(args).kind, c.kind) << c.needPassword << "/" << c.needNewPassword;
    }
    ExpectRefused(Args(18, "0"), "Error in function: CreateDialog(...) : Error in creating VTQueryPinEx dialog\n", true);
    ExpectRefused(Args(19, "x"), kBadArgs, true);
}

} // namespace
