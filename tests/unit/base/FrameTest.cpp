// StringToInt, xvtui_exception, the dialog factory and the process entry's
// error protocol: everything of the frame that needs no display.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "TempSettings.h"
#include "app/DialogFactory.h"
#include "app/Entry.h"
#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"

namespace {

struct IntCase {
    const char* text;
    bool ok;
    int value;
};

TEST(StringToInt, WholeTextBase10)
{
    const IntCase cases[] = {
        {"12", true, 12},
        {"12x", false, -1},
        {"", true, 0},
        {" 1", true, 1},
        {"\t7", true, 7},
        {"+1", true, 1},
        {"-1", true, -1},
        {"1 ", false, -1},
        {"0x10", false, -1},
        {"010", true, 10},
        {"1.5", false, -1},
        {"-", false, -1},
        {" ", false, -1},
        {"2147483647", true, INT_MAX},
        {"-2147483648", true, INT_MIN},
        {"4294967296", true, 0},        // 2^32: the low 32 bits
        {"4294967297", true, 1},
        {"4294967295", true, -1},
        {"-4294967297", true, -1},
        {"99999999999999999999", true, -1}, // strtol saturates at LONG_MAX
    };
    for (const IntCase& c : cases) {
        int value = 12345;
        EXPECT_EQ(BaseDialog::StringToInt(c.text, value), c.ok) << '"' << c.text << '"';
        EXPECT_EQ(value, c.value) << '"' << c.text << '"';
    }
    int value = 0;
    EXPECT_FALSE(BaseDialog::StringToInt(nullptr, value));
    EXPECT_EQ(value, -1);
}

TEST(XvtuiException, MessageLayoutAndCode)
{
    const xvtui_exception error(ResultCode::BrokenPipe, "OnTimer", "broken pipe");
    EXPECT_STREQ(error.what(), "Error in function: OnTimer(...) : broken pipe\n");
    EXPECT_EQ(error.GetCode(), 109u);
    const std::exception& base = error;
    EXPECT_STREQ(base.what(), error.what());
    EXPECT_STREQ(xvtui_exception(0, "", "").what(), "Error in function: (...) : \n");
}

TEST(DialogFactory, UnknownKeywordsAreBadArgs)
{
    unsetenv("DISPLAY"); // an unknown keyword never reaches GTK
    const std::vector<std::string> names = {
        "vtdisplaymessage", "VTDISPLAYMESSAGE", "VTDisplayMessage ", " VTDisplayMessage", "VTDisplayMessageEx\n",
        "VTDisplay", "", "VTDisplayMessageExx", "VTDisplayMessage\xd0",
    };
    for (const std::string& name : names) {
        char* argv[] = {const_cast<char*>("xvtui"), const_cast<char*>(name.c_str()), nullptr};
        try {
            DialogFactory::CreateDialog(name, 2, argv);
            ADD_FAILURE() << "accepted '" << name << "'";
        } catch (const xvtui_exception& error) {
            EXPECT_EQ(error.GetCode(), ResultCode::BadArgs);
            EXPECT_EQ(std::string(error.what()),
                      "Error in function: CreateDialog(...) : Error in creating " + name + " dialog\n");
        }
    }
}

TEST(DialogFactory, MessageKeywordsReachTheDialogWithoutDisplay)
{
    unsetenv("DISPLAY");
    for (const char* name : {"VTDisplayMessage", "VTDisplayMessageEx"}) {
        char* argv[] = {const_cast<char*>("xvtui"), const_cast<char*>(name), const_cast<char*>("0"),
                        const_cast<char*>("text"), nullptr};
        try {
            DialogFactory::CreateDialog(name, 4, argv);
            ADD_FAILURE() << name << " built a dialog without a display";
        } catch (const xvtui_exception& error) {
            EXPECT_EQ(error.GetCode(), ResultCode::GtkInitFailed) << name;
            EXPECT_STREQ(error.what(), "Error in function: CreateMainWindow(...) : gtk_init_check failed\n");
        }
    }
}

// Runs the entry with `args` and returns what it wrote and its status.
struct EntryRun {
    std::string out;
    int status;
};

EntryRun RunWith(std::vector<std::string> args)
{
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    std::FILE* out = std::tmpfile();
    EXPECT_NE(out, nullptr);
    EntryRun run{"", RunEntry(static_cast<int>(args.size()), argv.data(), out)};
    std::rewind(out);
    for (int c; (c = std::fgetc(out)) != EOF;)
        run.out.push_back(static_cast<char>(c));
    std::fclose(out);
    return run;
}

TEST(Entry, NoKeywordPrintsUsage)
{
    TempSettings settings;
    const EntryRun run = RunWith({"xvtui"});
    EXPECT_EQ(run.out, "You should not try run this manualy\n");
    EXPECT_EQ(run.status, 1);
}

TEST(Entry, ErrorsAreReportedAsRetAndLogged)
{
    TempSettings settings;
    unsetenv("DISPLAY");
    struct Case {
        std::vector<std::string> args;
        unsigned code;
        const char* logged;
    };
    const Case cases[] = {
        {{"xvtui", "VTBogus"}, ResultCode::BadArgs, "Error in creating VTBogus dialog"},
        {{"xvtui", "vtdisplaymessage", "0", "x"}, ResultCode::BadArgs, "Error in creating vtdisplaymessage dialog"},
        {{"xvtui", "VTDisplayMessage", "0", "x"}, ResultCode::GtkInitFailed, "gtk_init_check failed"},
    };
    for (const Case& c : cases) {
        const EntryRun run = RunWith(c.args);
        EXPECT_EQ(run.out, "ret=" + std::to_string(c.code)) << c.args[1];
        EXPECT_EQ(static_cast<unsigned>(run.status), c.code) << c.args[1];
        EXPECT_NE(settings.Log().find(c.logged), std::string::npos) << settings.Log();
    }
}

} // namespace
