// Starting, feeding and collecting a helper, with /bin/sh scripts standing in
// for it (the real helper is exercised by the black-box tests).
#include "client/HelperProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace xvtui::client;
using namespace std::chrono_literals;

Request Script(const std::string& script, std::string_view input = {})
{
    Request request = RawRequest({"-c", script});
    request.input.assign(input);
    return request;
}

LaunchOptions Shell(size_t maxOutput = 1024 * 1024)
{
    LaunchOptions options;
    options.helper = "/bin/sh";
    options.maxOutput = maxOutput;
    return options;
}

TEST(HelperProcess, OutputStatusAndSignals)
{
    struct Case {
        const char* script;
        std::string_view output;
        bool exited;
        int statusOrSignal;
    };
    const Case cases[] = {
        {"printf ret=2148532334; exit 110", "ret=2148532334", true, 110},
        {"printf 'a\\000b'", std::string_view("a\0b", 3), true, 0},
        {"exit 0", "", true, 0},
        {"printf partial; kill -TERM $$", "partial", false, SIGTERM},
        // The answer ends when the helper ends, not when it closes its output.
        {"exec >&-; exit 3", "", true, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.script);
        const RunResult run = xvtui::client::Run(Script(c.script), Shell(), 10s);
        EXPECT_EQ(run.output.view(), c.output);
        EXPECT_EQ(run.exited, c.exited);
        EXPECT_EQ(c.exited ? run.exitStatus : run.termSignal, c.statusOrSignal);
        EXPECT_FALSE(run.timedOut);
    }
}

// Input bigger than a pipe holds is written while the answer is read, so a
// helper that echoes it does not dead-lock with us.
TEST(HelperProcess, LargeInputIsFedWhileTheAnswerIsRead)
{
    std::string input(300 * 1024, '\0');
    for (size_t i = 0; i < input.size(); ++i)
        input[i] = static_cast<char>(i * 7 + i / 251);
    const RunResult run = xvtui::client::Run(Script("cat", input), Shell(), 10s);
    ASSERT_TRUE(run.exited);
    EXPECT_EQ(run.output.size(), input.size());
    EXPECT_TRUE(run.output.view() == input);
}

TEST(HelperProcess, AHelperThatIgnoresItsInputDoesNotHurtUs)
{
    // Writing to a pipe nobody reads must not raise SIGPIPE in this process.
    const std::string input(2 * 1024 * 1024, 'x');
    const RunResult run = xvtui::client::Run(Script("exec <&-; printf done", input), Shell(), 10s);
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.output.view(), "done");
}

TEST(HelperProcess, AnswersAreBounded)
{
    const std::pair<int, bool> sizes[] = {{999, false}, {1000, false}, {1001, true}, {5000000, true}};
    for (const auto& [size, truncated] : sizes) {
        SCOPED_TRACE(size);
        const std::string script = "head -c " + std::to_string(size) + " /dev/zero";
        const RunResult run = xvtui::client::Run(Script(script), Shell(1000), 10s);
        EXPECT_EQ(run.outputTruncated, truncated);
        EXPECT_EQ(run.output.size(), static_cast<size_t>(std::min(size, 1000)));
        EXPECT_EQ(Decode(run, RawRequest({}).decoder).outcome,
                  truncated ? Outcome::Malformed : Outcome::Answered);
    }
}

TEST(HelperProcess, DeadlineKillsTheHelper)
{
    const auto started = std::chrono::steady_clock::now();
    const RunResult run = xvtui::client::Run(Script("exec sleep 60"), Shell(), 300ms);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
    EXPECT_TRUE(run.timedOut);
    EXPECT_FALSE(run.exited);
    EXPECT_EQ(Decode(run, RawRequest({}).decoder).outcome, Outcome::TimedOut);
}

TEST(HelperProcess, OnlyTheStandardDescriptorsAreInherited)
{
    const int stray = open("/dev/null", O_RDONLY); // not close-on-exec
    ASSERT_GE(stray, 3);
    const RunResult run =
        xvtui::client::Run(Script("cd /proc/self/fd && echo *"), Shell(), 10s);
    close(stray);
    // The shell's glob runs in the shell itself: 0, 1, 2 and nothing else
    // except, possibly, a descriptor the shell opened for its own use.
    EXPECT_EQ(run.output.view().find(" " + std::to_string(stray) + " "), std::string_view::npos)
        << run.output.view();
    EXPECT_TRUE(run.output.view().starts_with("0 1 2")) << run.output.view();
}

TEST(HelperProcess, EnvironmentIsPassedOrReplaced)
{
    setenv("XVTUI_CLIENT_TEST", "inherited", 1);
    EXPECT_EQ(xvtui::client::Run(Script("printf %s \"$XVTUI_CLIENT_TEST\""), Shell(), 10s).output.view(),
              "inherited");
    LaunchOptions options = Shell();
    options.environment = std::vector<std::string>{"OTHER=1"};
    EXPECT_EQ(xvtui::client::Run(Script("printf %s \"${XVTUI_CLIENT_TEST-unset}$OTHER\""), options, 10s)
                  .output.view(),
              "unset1");
    unsetenv("XVTUI_CLIENT_TEST");
}

TEST(HelperProcess, AMissingHelperIsAnError)
{
    LaunchOptions options;
    options.helper = "/nonexistent/xvtui";
    EXPECT_THROW(HelperProcess(RawRequest({"VTDisplayMessage"}), options), ClientError);
    options.intermediateParent = true;
    EXPECT_THROW(HelperProcess(RawRequest({"VTDisplayMessage"}), options), ClientError);
}

TEST(HelperProcess, IntermediateParent)
{
    LaunchOptions options = Shell();
    options.intermediateParent = true;
    {
        // Left alone, the intermediate parent is the helper's parent and the
        // helper's status still arrives.
        HelperProcess process(Script("printf %s $PPID; exit 7"), options);
        ASSERT_GT(process.IntermediatePid(), 0);
        EXPECT_NE(process.IntermediatePid(), process.Pid());
        const RunResult run = process.Finish(10s);
        EXPECT_EQ(run.output.view(), std::to_string(process.IntermediatePid()));
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitStatus, 7);
    }
    {
        // Killed, it leaves an orphan that this process inherits and collects.
        HelperProcess process(Script("exec sleep 60"), options);
        process.KillIntermediate();
        EXPECT_THROW(process.KillIntermediate(), ClientError);
        EXPECT_FALSE(process.WaitForExit(0ms));
        process.Signal(SIGTERM);
        EXPECT_TRUE(process.WaitForExit(10s));
        const RunResult run = process.Finish(10s);
        EXPECT_FALSE(run.exited);
        EXPECT_EQ(run.termSignal, SIGTERM);
    }
    HelperProcess direct(Script("exit 0"), Shell());
    EXPECT_EQ(direct.IntermediatePid(), -1);
    EXPECT_THROW(direct.KillIntermediate(), ClientError);
}

} // namespace
