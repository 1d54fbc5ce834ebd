// The process frame seen from the parent: refused keywords and arguments, no
// display, the zero time-out, and the loss of the reader of the answer; the
// loss of the parent or of the X server is in the fault matrix
// (tests/blackbox/faults), the usage text a worked example of docs/protocol.md.
#include "client/ContainerRequest.h"
#include "client/ReaderRequest.h"
#include "common/Blackbox.h"
#include "common/PasswordRequests.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace testkit;
using namespace xvtui::client;

// Keyword matching is exact; none of these needs a display, so the factory's
// refusal must come before GTK is started.
TEST(Frame, UnknownKeywordsAreRefusedAndLogged)
{
    const char* const keywords[] = {"VTFoo", "vtdisplaymessage", "VTDisplayMessage ", " VTQueryPinEx",
                                    "VTDisplayMessageEX", "", "VTRndm%s%n",
                                    "VTDisplayMessage\xd0", "VTDisplayMessageExx"};
    for (const char* keyword : keywords) {
        SCOPED_TRACE(std::string("keyword '") + keyword + "'");
        Sandbox sandbox;
        sandbox.UnsetEnv("DISPLAY");
        const RunResult run =
            xvtui::client::Run(RawRequest({keyword, "0", "text"}), HelperOptions(sandbox), kAnswerTimeout);
        ASSERT_TRUE(run.exited);
        EXPECT_EQ(run.output.view(), "ret=2147942487");
        EXPECT_EQ(run.exitStatus, 87);
        const std::string expected = std::string("Error in function: CreateDialog(...) : Error in creating ") +
                                     keyword + " dialog";
        EXPECT_NE(sandbox.ReadLog().find(expected), std::string::npos) << "log: " << sandbox.ReadLog();
    }
}

// Arguments a dialog refuses once GTK has started (the parsers' tables have
// every rule): the bad-arguments code and the refusal in the log.
TEST(Frame, DialogsRefuseBadArgumentsAndLogIt)
{
    const struct {
        std::vector<std::string> arguments;
        const char* logged;
    } rows[] = {
        {{"VTDisplayMessage", "2x", "text"}, "Bad args in MessageDialog constructor"},
        {{"VTDisplayMessage", "2"}, "Bad args in MessageDialog constructor"},
        {{"VTSelectReader"}, "Error in function: ParseArgs(...) : Can not create SelectReaderDialog\n"},
    };
    XClient x; // the private display
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.arguments));
        Sandbox sandbox;
        const RunResult run = xvtui::client::Run(RawRequest(row.arguments), HelperOptions(sandbox), kAnswerTimeout);
        ASSERT_TRUE(run.exited);
        EXPECT_EQ(run.output.view(), "ret=2147942487");
        EXPECT_EQ(run.exitStatus, 87);
        EXPECT_NE(sandbox.ReadLog().find(row.logged), std::string::npos) << sandbox.ReadLog();
    }
}

TEST(Frame, WithoutADisplayTheAnswerIsCode1114)
{
    for (const char* display : {static_cast<const char*>(nullptr), ""}) {
        SCOPED_TRACE(display == nullptr ? "DISPLAY unset" : "DISPLAY empty");
        Sandbox sandbox;
        if (display == nullptr)
            sandbox.UnsetEnv("DISPLAY");
        else
            sandbox.SetEnv("DISPLAY", display);
        const Answer answer = AskHelper(MessageRequest(130, "No display", display != nullptr), sandbox);
        EXPECT_EQ(answer.outcome, Outcome::Refused);
        EXPECT_EQ(answer.code, ResultCode::GtkInitFailed);
        EXPECT_EQ(answer.exitStatus, 90);
        EXPECT_NE(sandbox.ReadLog().find("gtk_init_check failed"), std::string::npos);
    }
}

// A parent that stops reading: the helper sees the error on its output,
// ends within two seconds, and is not killed by SIGPIPE when it writes.
TEST(Frame, AReaderThatClosesTheAnswerPipeEndsTheDialog)
{
    Sandbox sandbox;
    XClient x;
    const Request request = MessageRequest(2, "Nobody listens");
    ShownDialog dialog(request, sandbox, x);

    dialog.Process().CloseOutput();
    const auto took = RunsFor(dialog);
    const Answer answer = dialog.Finish();

    EXPECT_LT(took, 2s + kExitSlack);
    EXPECT_TRUE(answer.exited) << "killed by signal " << answer.termSignal;
    EXPECT_EQ(answer.exitStatus, 109);
}

// "<prefix>_time" 0 cancels at the first tick of the one-second timer, each
// dialog with its own prefix (the message dialog's own rule is in its tests).
// The PIN dialog reads no records, so its first tick comes after the window.
TEST(Frame, ZeroTimeCancelsAtTheFirstTick)
{
    const struct {
        const char* key;
        Request request;
        Millis atLeast;
    } rows[] = {
        {"passwd_time", PinRequest(KeyContainerArgs(), 3, 3), 300ms},
        {"selcar_time", SelectReaderRequest("", {{{"A"}, {"D"}, "R"}}), 0ms},
        {"choice_time", ContainerRequest({{"Key 1", kDefaultCodePage, "u-1", "one"}}), 0ms},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        Sandbox sandbox;
        sandbox.SetLocal(row.key, 0);
        XClient x;
        ShownDialog dialog(row.request, sandbox, x);
        const auto took = RunsFor(dialog);
        EXPECT_EQ(dialog.Finish().exitStatus, 110);
        EXPECT_EQ(dialog.Output(), kCancelledOutput);
        EXPECT_GE(took, row.atLeast);
        EXPECT_LT(took, 3s + kExitSlack);
    }
}

} // namespace
