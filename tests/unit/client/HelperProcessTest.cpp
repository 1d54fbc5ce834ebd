// Starting, feeding and collecting a helper, with /bin/sh scripts standing in
// for it (the real helper is exercised by the black-box tests).
#include "client/HelperProcess.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

using namespace xvtui::client;
using namespace std::chrono_literals;

// `sh -c script` as the helper, `input` on its standard input.
RunResult RunScript(const std::string& script, std::string_view input = {}, size_t maxOutput = 1 << 20,
                    std::chrono::milliseconds timeout = 10s)
{
    Request request = RawRequest({"-c", script});
    request.input.assign(input);
    LaunchOptions options;
    options.helper = "/bin/sh";
    options.maxOutput = maxOutput;
    return Run(request, options, timeout);
}

// More input than a pipe holds is written while the answer is read, so a
// helper that echoes it does not dead-lock with us.
TEST(HelperProcess, LargeInputIsFedWhileTheAnswerIsRead)
{
    std::string input;
    for (int i = 0; i < 300 * 1024; ++i)
        input += static_cast<char>(i * 7 + i / 251); // NULs and all other bytes
    const RunResult run = RunScript("cat", input);
    EXPECT_TRUE(run.exited);
    EXPECT_TRUE(run.output.view() == input);
}

// Writing to a helper that closed its input must not raise SIGPIPE here.
TEST(HelperProcess, AHelperThatIgnoresItsInputDoesNotHurtUs)
{
    const RunResult run = RunScript("exec <&-; printf done", std::string(2 << 20, 'x'));
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.output.view(), "done");
}

// Output beyond the limit is drained but refused; a deadline kills the helper.
TEST(HelperProcess, OutputAndTimeAreBounded)
{
    const Decoder raw = RawRequest({}).decoder;
    for (const int size : {1000, 1001, 5000000}) {
        const RunResult run = RunScript("head -c " + std::to_string(size) + " /dev/zero", {}, 1000);
        EXPECT_EQ(run.output.size(), 1000u) << size;
        EXPECT_EQ(Decode(run, raw).outcome, size > 1000 ? Outcome::Malformed : Outcome::Answered) << size;
    }
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(Decode(RunScript("exec sleep 60", {}, 1000, 300ms), raw).outcome, Outcome::TimedOut);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
}

// Under an intermediate parent the status still arrives (after the output has
// closed); once the parent is killed, this process collects the orphan.
TEST(HelperProcess, IntermediateParent)
{
    LaunchOptions options;
    options.helper = "/bin/sh";
    options.intermediateParent = true;
    HelperProcess kept(RawRequest({"-c", "printf %s $PPID; exec >&-; exit 7"}), options);
    const RunResult run = kept.Finish(10s);
    EXPECT_EQ(run.output.view(), std::to_string(kept.IntermediatePid()));
    EXPECT_EQ(run.exitStatus, 7);

    HelperProcess orphan(RawRequest({"-c", "exec sleep 60"}), options);
    orphan.KillIntermediate();
    EXPECT_FALSE(orphan.WaitForExit(0ms));
    orphan.Signal(SIGTERM);
    EXPECT_TRUE(orphan.WaitForExit(10s));
    EXPECT_EQ(orphan.Finish(10s).termSignal, SIGTERM);

    options.helper = "/nonexistent/xvtui";
    EXPECT_THROW(HelperProcess(RawRequest({}), options), ClientError);
}

// Conversation mode: the input stays open between exchanges, what Receive
// took is not part of the answer, and a helper that has gone makes Send fail
// without a signal.
TEST(HelperProcess, ConversationKeepsTheInputOpen)
{
    LaunchOptions options;
    options.helper = "/bin/sh";
    options.conversation = true;
    Request request = RawRequest({"-c", "read a; printf '[%s]' \"$a\"; read b; printf '[%s]end' \"$b\""});
    request.input.assign(std::string_view("one\n"));
    HelperProcess helper(request, options);
    char reply[5] = {};
    EXPECT_EQ(helper.Receive(reply, sizeof reply, 10s), 5u);
    EXPECT_EQ(std::string_view(reply, 5), "[one]");
    EXPECT_EQ(helper.Receive(reply, 1, 20ms), 0u) << "it waits for its second line";
    EXPECT_TRUE(helper.Send("two\n", 10s));
    EXPECT_EQ(helper.Receive(reply, sizeof reply, 10s), 5u);
    EXPECT_TRUE(helper.WaitForExit(10s));
    EXPECT_FALSE(helper.Send("three\n", 10s));
    const RunResult run = helper.Finish(10s);
    EXPECT_EQ(run.output.view(), "end");
    EXPECT_EQ(run.exitStatus, 0);
}

} // namespace
