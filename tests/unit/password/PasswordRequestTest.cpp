// The "VTQueryPinEx" command line: argument count, integer conversion, field
// mapping and the choice of the dialog kind. All of it happens before any
// window exists, so these tests run without a display (DISPLAY is unset: a
// dialog built by mistake would fail with GTK's code instead).
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "app/DialogFactory.h"
#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "dialogs/password/PasswordDialog.h"

namespace {

const char kBadArgsMessage[] = "Error in function: CreatePasswordDialog(...) : Bad args in PasswordDialog constructor\n";

// A valid one-entry request; tests change single arguments.
std::vector<std::string> ValidArguments()
{
    return {"xvtui", "VTQueryPinEx", "Title", "Header", "Reader 1", "Carrier 2", "Container 3",
            "Reader:", "Carrier:", "Container:", "PIN", "new PIN", "1", "3", "8", "4", "16", "6", "1", "0"};
}

struct Argv {
    explicit Argv(std::vector<std::string> arguments) : strings(std::move(arguments))
    {
        for (std::string& s : strings) {
            pointers.push_back(s.data());
        }
        pointers.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(strings.size()); }
    char** argv() { return pointers.data(); }

    std::vector<std::string> strings;
    std::vector<char*> pointers;
};

class PasswordRequest : public ::testing::Test {
protected:
    void SetUp() override { unsetenv("DISPLAY"); }

    static void ExpectBadArgs(std::vector<std::string> arguments, const std::string& label)
    {
        Argv args(std::move(arguments));
        try {
            PasswordDialog::ParseArguments(args.argc(), args.argv());
            ADD_FAILURE() << label << ": accepted";
        } catch (const xvtui_exception& error) {
            EXPECT_EQ(error.GetCode(), ResultCode::BadArgs) << label;
            EXPECT_STREQ(error.what(), kBadArgsMessage) << label;
        }
    }
};

TEST_F(PasswordRequest, NeedsTwentyArguments)
{
    std::vector<std::string> arguments = ValidArguments();
    Argv exact(arguments);
    EXPECT_NO_THROW(PasswordDialog::ParseArguments(exact.argc(), exact.argv()));

    arguments.push_back("ignored");
    arguments.push_back("12a");
    Argv more(arguments);
    EXPECT_NO_THROW(PasswordDialog::ParseArguments(more.argc(), more.argv()));

    for (std::size_t count : {19u, 2u, 0u}) {
        std::vector<std::string> shorter = ValidArguments();
        shorter.resize(count);
        ExpectBadArgs(shorter, "argc " + std::to_string(count));
    }
}

TEST_F(PasswordRequest, IntegerArgumentsConvertWholeTextOnly)
{
    struct Case {
        const char* text;
        bool valid;
        int value;
    };
    const Case cases[] = {
        {"12a", false, 0}, {"1 ", false, 0}, {"0x10", false, 0}, {"a", false, 0}, {"1.5", false, 0},
        {" 1", true, 1},   {"+1", true, 1},  {"-1", true, -1},   {"", true, 0},   {"010", true, 10},
        {"4294967297", true, 1}, // the low 32 bits of the parsed number
        {"4294967295", true, -1},
    };
    for (int position = 12; position <= 19; ++position) {
        for (const Case& c : cases) {
            std::vector<std::string> arguments = ValidArguments();
            arguments[position] = c.text;
            const std::string label = "argv[" + std::to_string(position) + "]=\"" + c.text + "\"";
            if (!c.valid) {
                ExpectBadArgs(arguments, label);
                continue;
            }
            Argv args(arguments);
            PasswordDialog::Request request;
            ASSERT_NO_THROW(request = PasswordDialog::ParseArguments(args.argc(), args.argv())) << label;
            const PasswordDialogInfo& info = request.info;
            switch (position) {
            case 12: EXPECT_EQ(info.carrierActive, c.value != 0) << label; break;
            case 13: EXPECT_EQ(info.triesLeft, c.value) << label; break;
            case 14: EXPECT_EQ(info.maxPasswordLength, c.value) << label; break;
            case 15: EXPECT_EQ(info.minPasswordLength, c.value) << label; break;
            case 16: EXPECT_EQ(info.maxNewPasswordLength, c.value) << label; break;
            case 17: EXPECT_EQ(info.minNewPasswordLength, c.value) << label; break;
            default: break; // the flags: see ChoosesTheDialogKind
            }
        }
    }
}

TEST_F(PasswordRequest, FillsTheRecord)
{
    std::vector<std::string> arguments = ValidArguments();
    arguments[12] = "0";
    Argv args(arguments);
    const PasswordDialog::Request request = PasswordDialog::ParseArguments(args.argc(), args.argv());
    const PasswordDialogInfo& info = request.info;
    EXPECT_EQ(info.title, "Title");
    EXPECT_EQ(info.header, "Header\n");
    EXPECT_EQ(info.readerName, "Reader 1");
    EXPECT_EQ(info.carrierName, "Carrier 2");
    EXPECT_EQ(info.containerName, "Container 3");
    EXPECT_EQ(info.readerCaption, "Reader:");
    EXPECT_EQ(info.carrierCaption, "Carrier:");
    EXPECT_EQ(info.containerCaption, "Container:");
    EXPECT_EQ(info.passwordTerm, "PIN");
    EXPECT_EQ(info.newPasswordTerm, "new PIN");
    EXPECT_FALSE(info.carrierActive);
    EXPECT_EQ(info.triesLeft, 3);
    EXPECT_EQ(info.maxPasswordLength, 8);
    EXPECT_EQ(info.minPasswordLength, 4);
    EXPECT_EQ(info.maxNewPasswordLength, 16);
    EXPECT_EQ(info.minNewPasswordLength, 6);
    EXPECT_EQ(request.kind, 1);

    // Texts are never checked: all empty is fine.
    for (int i = 2; i <= 11; ++i) {
        arguments[i].clear();
    }
    Argv empty(arguments);
    EXPECT_EQ(PasswordDialog::ParseArguments(empty.argc(), empty.argv()).info.header, "\n");
}

TEST_F(PasswordRequest, ChoosesTheDialogKind)
{
    struct Case {
        const char* needPassword;
        const char* needNewPassword;
        int kind;
    };
    const Case cases[] = {
        {"0", "0", 0}, {"1", "0", 1}, {"0", "1", 2}, {"1", "1", 3},
        {"5", "-3", 3}, {"-1", "", 1}, {"", "7", 2}, {"", "", 0},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments = ValidArguments();
        arguments[18] = c.needPassword;
        arguments[19] = c.needNewPassword;
        Argv args(arguments);
        EXPECT_EQ(PasswordDialog::ParseArguments(args.argc(), args.argv()).kind, c.kind)
            << c.needPassword << "/" << c.needNewPassword;
    }
}

TEST_F(PasswordRequest, NoDialogWhenNothingIsAsked)
{
    std::vector<std::string> arguments = ValidArguments();
    arguments[18] = "0";
    arguments[19] = "0";
    Argv args(arguments);
    EXPECT_EQ(PasswordDialog::CreatePasswordDialog(args.argc(), args.argv()), nullptr);

    // The process's factory turns that into its creation error.
    try {
        DialogFactory::CreateDialog("VTQueryPinEx", args.argc(), args.argv());
        ADD_FAILURE() << "a dialog was made";
    } catch (const xvtui_exception& error) {
        EXPECT_EQ(error.GetCode(), ResultCode::BadArgs);
        EXPECT_STREQ(error.what(), "Error in function: CreateDialog(...) : Error in creating VTQueryPinEx dialog\n");
    }
}

TEST_F(PasswordRequest, BadArgumentsFailBeforeAnyWindow)
{
    // Without a display a constructed dialog would fail with 1114; the parse
    // error must come first.
    std::vector<std::string> arguments = ValidArguments();
    arguments[19] = "x";
    Argv args(arguments);
    try {
        DialogFactory::CreateDialog("VTQueryPinEx", args.argc(), args.argv());
        ADD_FAILURE() << "a dialog was made";
    } catch (const xvtui_exception& error) {
        EXPECT_EQ(error.GetCode(), ResultCode::BadArgs);
        EXPECT_STREQ(error.what(), kBadArgsMessage);
    }
}

} // namespace
