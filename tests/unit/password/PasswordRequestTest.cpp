// "VTQueryPinEx" refused before any window exists: DISPLAY is unset, so a
// dialog built by mistake would fail with GTK's code instead. The parser's
// tables are in tests/unit/protocol.
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

// A valid one-entry request with argv[index] = text.
std::vector<std::string> Args(int index = 0, const char* text = "xvtui")
{
    std::vector<std::string> args = {"xvtui", "VTQueryPinEx", "Title", "Header", "Reader 1", "Carrier 2",
                                     "Container 3", "Reader:", "Carrier:", "Container:", "PIN", "new PIN",
                                     "0", "3", "8", "4", "16", "6", "1", "0"};
    args[index] = text;
    return args;
}

// The adapter itself, or the factory; the refusal's exact code and text are checked.
void ExpectRefused(std::vector<std::string> args, const char* message, bool factory = false)
{
    unsetenv("DISPLAY");
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    try {
        if (factory)
            DialogFactory::CreateDialog("VTQueryPinEx", static_cast<int>(args.size()), argv.data());
        else
            PasswordDialog::CreatePasswordDialog(static_cast<int>(args.size()), argv.data());
        ADD_FAILURE() << "accepted";
    } catch (const xvtui_exception& error) {
        EXPECT_EQ(error.GetCode(), ResultCode::BadArgs);
        EXPECT_STREQ(error.what(), message);
    }
}

// Too few arguments and a bad integer are the parser's refusal; nothing asked
// is the factory's creation error, before any window (not GTK's 1114).
TEST(PasswordRequest, RefusalsBeforeAnyWindow)
{
    std::vector<std::string> args = Args();
    args.resize(19);
    ExpectRefused(args, kBadArgs);
    ExpectRefused({}, kBadArgs);
    ExpectRefused(Args(13, "12a"), kBadArgs);
    ExpectRefused(Args(18, "0"), "Error in function: CreateDialog(...) : Error in creating VTQueryPinEx dialog\n", true);
    ExpectRefused(Args(19, "x"), kBadArgs, true);
}

} // namespace
