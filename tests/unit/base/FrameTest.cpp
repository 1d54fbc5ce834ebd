// StringToInt, the dialog factory and the process entry's report: the parts
// of the frame that need no display.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "app/DialogFactory.h"
#include "app/Entry.h"
#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "common/Sandbox.h"
#include "common/UnitKit.h"

namespace {

TEST(StringToInt, WholeTextBase10)
{
    const struct {
        const char* text;
        bool ok;
        int value;
    } cases[] = {
        {"12", true, 12}, {"12x", false, -1},  {"", true, 0},    {" 1", true, 1},  {"+1", true, 1},
        {"-1", true, -1}, {"1 ", false, -1},   {"0x10", false, -1}, {"010", true, 10}, {"-", false, -1},
        {"2147483647", true, INT_MAX}, {"4294967297", true, 1}, // beyond 32 bits: the low bits
    };
    for (const auto& c : cases) {
        int value = 12345;
        EXPECT_EQ(BaseDialog::StringToInt(c.text, value), c.ok) << '"' << c.text << '"';
        EXPECT_EQ(value, c.value) << '"' << c.text << '"';
    }
    int value = 0;
    EXPECT_FALSE(BaseDialog::StringToInt(nullptr, value));
}

// Matching is exact and comes before GTK starts, so no display is needed.
TEST(DialogFactory, UnknownKeywordsAreBadArgs)
{
    unsetenv("DISPLAY");
    for (std::string name : {"vtdisplaymessage", "VTDisplayMessage ", " VTDisplayMessage", "VTDisplayMessageEx\n",
                             "VTDisplay", "", "VTDisplayMessageExx", "VTDisplayMessage\xd0"}) {
        char* argv[] = {const_cast<char*>("xvtui"), name.data(), nullptr};
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

// The usage line, or "ret=" and the code without a newline, the error logged.
TEST(Entry, ReportsUsageOrRetAndLogs)
{
    testkit::Sandbox settings;
    settings.Export();
    unsetenv("DISPLAY");
    const struct {
        std::vector<std::string> args;
        const char* out;
        unsigned status;
        const char* logged;
    } cases[] = {
        {{"xvtui"}, "You should not try run this manualy\n", 1, ""},
        {{"xvtui", "VTBogus"}, "ret=2147942487", ResultCode::BadArgs,
         "Error in function: CreateDialog(...) : Error in creating VTBogus dialog\n"},
        {{"xvtui", "VTDisplayMessage", "0", "x"}, "ret=1114", ResultCode::GtkInitFailed,
         "Error in function: CreateMainWindow(...) : gtk_init_check failed\n"},
        {{"xvtui", "VTDisplayMessageEx", "0", "x"}, "ret=1114", ResultCode::GtkInitFailed, "gtk_init_check failed"},
    };
    for (auto c : cases) {
        std::vector<char*> argv;
        for (std::string& arg : c.args)
            argv.push_back(arg.data());
        argv.push_back(nullptr);
        char* buffer = nullptr;
        size_t size = 0;
        std::FILE* out = open_memstream(&buffer, &size);
        ASSERT_NE(out, nullptr);
        const unsigned status = static_cast<unsigned>(RunEntry(static_cast<int>(c.args.size()), argv.data(), out));
        std::fclose(out);
        EXPECT_EQ(std::string(buffer, size), c.out) << c.args.back();
        std::free(buffer);
        EXPECT_EQ(status, c.status) << c.args.back();
        EXPECT_NE(settings.ReadLog().find(c.logged), std::string::npos) << settings.ReadLog();
    }
}

// A closed standard output is not taken over by the log: "ret=" never lands there.
TEST(Entry, ClosedStandardOutputKeepsTheAnswerOutOfTheLog)
{
    testkit::Sandbox settings;
    settings.Export();
    EXPECT_EQ(testkit::RunInChild({{"TORVIK_LOG", std::getenv("TORVIK_LOG")}}, [] {
        close(STDOUT_FILENO);
        char* argv[] = {const_cast<char*>("xvtui"), const_cast<char*>("VTBogus"), nullptr};
        return std::to_string(static_cast<unsigned>(RunEntry(2, argv, stdout)));
    }), "2147942487");
    EXPECT_NE(settings.ReadLog().find("VTBogus"), std::string::npos);
    EXPECT_EQ(settings.ReadLog().find("ret="), std::string::npos) << settings.ReadLog();
}

} // namespace
