// `xvtui-ask doctor` as an administrator runs it: the built tool and helper,
// on a machine that is set up right, then broken one way at a time.
#include "common/Blackbox.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;

const std::string kTool = XVTUI_BUILD_DIR "/bin/xvtui-ask";

struct Report {
    int status = -1;
    std::string text;
};

Report Doctor(const Sandbox& sandbox, const std::string& helper = XVTUI_BINARY)
{
    LaunchOptions options;
    options.helper = kTool;
    options.environment = sandbox.Environment();
    const RunResult run = Run(RawRequest({"--helper", helper, "doctor"}), options, kAnswerTimeout);
    EXPECT_TRUE(run.exited);
    return {run.exitStatus, std::string(run.output.view())};
}

// A sandbox whose settings hold a value in each scope.
void SetTimeOuts(Sandbox& sandbox)
{
    sandbox.SetLocal("passwd_time", 30);
    sandbox.SetGlobal("message_time", 0);
}

TEST(Doctor, AWellSetUpMachinePasses)
{
    Sandbox sandbox;
    SetTimeOuts(sandbox);
    const Report report = Doctor(sandbox);
    EXPECT_EQ(report.status, 0) << report.text;
    EXPECT_EQ(report.text.find("FAIL"), std::string::npos) << report.text;
    // The library the helper loads, named by its path in the build tree.
    EXPECT_NE(report.text.find("ok    support library: " XVTUI_BUILD_DIR "/"), std::string::npos) << report.text;
    EXPECT_NE(report.text.find("ok    settings \\local\\KeyDevices: 1 of 15"), std::string::npos) << report.text;
}

// Each misconfiguration is reported as a failure with the expected words,
// followed by its fix, and the status is 1.
TEST(Doctor, ReportsEachMisconfigurationWithItsFix)
{
    struct Case {
        const char* what;
        std::function<void(Sandbox&)> breakIt;
        std::string failure;
        std::string helper = XVTUI_BINARY;
    };
    const std::vector<Case> cases = {
        {"no display", [](Sandbox& s) { s.UnsetEnv("DISPLAY"); }, "FAIL  display: DISPLAY is not set"},
        {"an unreachable display", [](Sandbox& s) { s.SetEnv("DISPLAY", ":64999"); },
         "FAIL  display :64999 does not answer"},
        {"Russian locales not generated", [](Sandbox& s) { s.SetEnv("LOCPATH", s.Dir()); },
         "FAIL  locale ru_RU.cp1251 is not generated"},
        {"no catalogue in either directory",
         [](Sandbox& s) {
             s.SetEnv("TORVIK_CATALOG_DIR", s.Dir());
             s.SetEnv("TORVIK_LOCALE_CATALOG_DIR", s.Path("ru"));
         },
         "FAIL  Russian catalogue not found: "},
        {"a catalogue missing texts",
         [](Sandbox& s) {
             s.WriteFile("part.msg", "$set 1\n2003 Friendly name\n2118 Do not show\n");
             const std::string gencat = "LC_ALL=C.UTF-8 gencat -o " + s.Path("libcsp.cat") + " " + s.Path("part.msg");
             ASSERT_EQ(std::system(gencat.c_str()), 0);
             s.SetEnv("TORVIK_CATALOG_DIR", s.Dir());
         },
         "lacks texts 2020, 2025, 2027, 2096, 2098, 2099, 2141, 2142, 2143, 2144"},
        {"an unreadable settings file",
         [](Sandbox& s) {
             std::filesystem::create_directory(s.Path("global.d"));
             s.SetEnv("TORVIK_GLOBAL_CONFIG", s.Path("global.d"));
         },
         "FAIL  settings \\global\\KeyDevices cannot be read"},
        {"settings that are not numbers",
         [](Sandbox& s) { s.WriteFile("local.ini", "[KeyDevices]\npasswd_time = ten\nbio_show_time = 0x\n"); },
         "hold values that are not whole numbers: passwd_time, bio_show_time"},
        {"a helper that cannot load its support library", [](Sandbox&) {},
         "FAIL  support library: the helper's loader finds no libtorvik.so.4", "copy"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Sandbox sandbox;
        SetTimeOuts(sandbox);
        c.breakIt(sandbox);
        std::string helper = c.helper;
        if (helper == "copy") { // alone in a directory, its RUNPATH leads nowhere
            helper = sandbox.Path("xvtui");
            std::filesystem::copy_file(XVTUI_BINARY, helper);
        }
        const Report report = Doctor(sandbox, helper);
        EXPECT_EQ(report.status, 1) << report.text;
        const size_t at = report.text.find(c.failure);
        ASSERT_NE(at, std::string::npos) << report.text;
        const size_t next = report.text.find('\n', at);
        EXPECT_EQ(report.text.compare(next + 1, 11, "      fix: "), 0) << report.text;
    }
}

} // namespace
