// The fault matrix: every dialog under the faults a parent, its pipes, the X
// server or the installation can bring, each row with the exact answer bytes
// (or "ret=" code), the exit status and how long the helper may take.
// docs/fault-matrix.md is this file as a table.
#include "client/ContainerRequest.h"
#include "client/RandomParent.h"
#include "client/ReaderRequest.h"
#include "common/Blackbox.h"
#include "common/PasswordRequests.h"
#include "common/UnitKit.h"
#include "protocol/SelectItem.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;
using Clock = std::chrono::steady_clock;

const std::string kCancelledText = "ret=2148532334", kLostText = "ret=109";

// One dialog as the matrix drives it: its request, what a user does to answer
// it and the exact answer, its total time-out setting, whether it reads
// standard input before its window shows, whether it shows catalogue texts.
struct Subject {
    const char* name;
    std::function<Request()> request;
    std::vector<Act> answer;
    std::string answerBytes;
    const char* timeKey;
    bool readsInput;
    bool showsCatalogue;
};

std::string ContainerAnswer()
{
    const xvtui::protocol::VTUISelectItem_ answer = xvtui::protocol::SelectAnswer("Key 1", "\\\\.\\FLASH\\one");
    return std::string(reinterpret_cast<const char*>(&answer), sizeof answer);
}

Request OneContainer()
{
    return ContainerRequest({ContainerRecord{"Key 1", kDefaultCodePage, "unique-1", "\\\\.\\FLASH\\one"}});
}

// The PIN request with a tries-left count, so its warning shows too.
PasswordRequestArgs TriesLeft(PasswordRequestArgs args)
{
    args.triesLeft = "2";
    return args;
}

const std::vector<Subject>& Subjects()
{
    // The message is the old-keys warning, with its catalogue check box.
    static const std::vector<Subject> subjects = {
        {"message", [] { return MessageRequest(130, "Old keys were found."); }, {Press("Return")},
         "XVTUI_dont_show_warning=true", "message_time", false, true},
        {"PIN", [] { return PinRequest(TriesLeft(KeyContainerArgs()), 7, 3); }, {Fill({"1234"})},
         PinAnswer(true, false, "1234"), "passwd_time", true, true},
        {"new password", [] { return NewPasswordRequest(KeyContainerArgs()); }, {Fill({"n3w", "n3w"})},
         "XVTUI_passwd=n3w", "passwd_time", false, true},
        {"password change", [] { return ChangePasswordRequest(KeyContainerArgs()); }, {Fill({"0ld", "n3w", "n3w"})},
         "XVTUI_old_passwd=0ldXVTUI_passwd=n3w", "passwd_time", false, true},
        {"reader", [] { return RawRequest({"VTSelectReader", "", "-name", "R", "-applet", "A", "-desc", "D"}); },
         {Press("Return")}, "name=R;applet=A", "selcar_time", false, false},
        {"container", OneContainer, {Press("Down"), Press("Return")}, ContainerAnswer(), "choice_time", true, true},
        {"random data", [] { return RandomRequest(); }, {}, "", "bio_time", true, false},
    };
    return subjects;
}

bool Answers(const Subject& s)
{
    return !s.answerBytes.empty();
}

// Fills the helper's standard output as a parent that stops reading leaves
// it, writing through /proc; returns the bytes written.
std::string FillOutput(pid_t helper)
{
    const std::string path = "/proc/" + std::to_string(helper) + "/fd/1";
    const int fd = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_GE(fd, 0) << path;
    std::string written;
    const std::string chunk(4096, '#');
    for (;;) {
        const ssize_t n = write(fd, chunk.data(), chunk.size());
        if (n <= 0)
            break;
        written.append(chunk, 0, static_cast<size_t>(n));
    }
    EXPECT_EQ(errno, EAGAIN);
    close(fd);
    return written;
}

struct Outcome {
    std::string output;
    int exitStatus = -1;
    std::chrono::steady_clock::duration took{}; // from the fault to the end
};

// Starts a subject's helper; `input` replaces the request's standard input
// when given, and the input then stays open (the parent keeps its pipe).
struct Started {
    Started(const Subject& s, const Sandbox& sandbox, bool intermediateParent, std::optional<std::string> input = {})
    {
        request = s.request();
        LaunchOptions options = HelperOptions(sandbox, intermediateParent);
        if (input) {
            request.input = secure::String(*input);
            options.conversation = true;
        }
        process.emplace(request, options);
    }
    Outcome Finish(Clock::time_point fault)
    {
        // Reads the output as it comes, until the helper has ended.
        const RunResult run = process->Finish(kAnswerTimeout);
        Outcome outcome;
        outcome.took = Clock::now() - fault;
        outcome.output = std::string(run.output.view());
        outcome.exitStatus = run.exited ? run.exitStatus : -1;
        return outcome;
    }
    Request request;
    std::optional<HelperProcess> process;
};

XWindow ShowWindow(XClient& x, Started& started)
{
    const XWindow window = x.WaitForWindow(started.process->Pid(), kWindowTimeout);
    EXPECT_NE(window, kNoWindow);
    if (window != kNoWindow)
        x.Focus(window);
    return window;
}

// Shows the subject's dialog, checks that it fits the screen (and is at
// least `minWidth` wide), and ends it as a user does: with its answer, or
// (random data, which answers with its status only) by closing the window.
void ShowAndEnd(const Subject& s, const Sandbox& sandbox, std::optional<std::string> input = {}, int minWidth = 0)
{
    XClient x;
    Started started(s, sandbox, false, std::move(input));
    const XWindow window = ShowWindow(x, started);
    ASSERT_NE(window, kNoWindow);
    const Rect shown = x.Geometry(window);
    EXPECT_LE(shown.width, 1024);
    EXPECT_GE(shown.width, minWidth);
    EXPECT_LE(shown.height, 768);
    for (const Act& act : Answers(s) ? s.answer : std::vector<Act>{Close()})
        act(x, window);
    const Outcome outcome = started.Finish(Clock::now());
    EXPECT_EQ(outcome.output, Answers(s) ? s.answerBytes : kCancelledText);
    EXPECT_EQ(outcome.exitStatus, Answers(s) ? 0 : 110);
}

// A parent that stops reading, then: reads again (the answer arrives whole
// after what filled the pipe), dies, or closes the pipe (109 within a second).
TEST(FaultMatrix, AnswerWriteToAFullOutput)
{
    enum class Then { Drains, ParentKilled, ReaderCloses };
    const struct {
        Then then;
        const char* what;
    } rows[] = {{Then::Drains, "drained"}, {Then::ParentKilled, "parent killed"}, {Then::ReaderCloses, "reader closes"}};
    for (const Subject& s : Subjects()) {
        if (!Answers(s))
            continue;
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(s.name) + ", output full, " + row.what);
            Sandbox sandbox;
            XClient x;
            Started started(s, sandbox, row.then == Then::ParentKilled);
            const XWindow window = ShowWindow(x, started);
            ASSERT_NE(window, kNoWindow);
            const std::string filler = FillOutput(started.process->Pid());
            for (const Act& act : s.answer)
                act(x, window);
            ASSERT_TRUE(x.WaitForUnmap(window, kWindowTimeout));
            // Blocked in the answer's write now: nothing ends it but the parent.
            ASSERT_FALSE(started.process->WaitForExit(300ms));
            const auto fault = Clock::now();
            if (row.then == Then::ParentKilled) {
                started.process->KillIntermediate();
                // Nobody reads: the helper must notice the loss by itself.
                EXPECT_TRUE(started.process->WaitForExit(1500ms + kExitSlack));
            }
            if (row.then == Then::ReaderCloses)
                started.process->CloseOutput();
            const Outcome outcome = started.Finish(fault);
            // What follows the filler (which never shows in a failure).
            ASSERT_TRUE(row.then == Then::ReaderCloses || outcome.output.starts_with(filler));
            const std::string after = outcome.output.substr(std::min(filler.size(), outcome.output.size()));
            switch (row.then) {
            case Then::Drains:
                EXPECT_EQ(after, s.answerBytes);
                EXPECT_EQ(outcome.exitStatus, 0);
                break;
            case Then::ParentKilled:
                EXPECT_EQ(after, ""); // no room was made: not a byte more
                EXPECT_EQ(outcome.exitStatus, 109);
                EXPECT_LT(outcome.took, 1500ms + kExitSlack);
                break;
            case Then::ReaderCloses:
                EXPECT_EQ(outcome.exitStatus, 109);
                EXPECT_LT(outcome.took, 1500ms + kExitSlack);
                break;
            }
        }
    }
}

// Standard output closed before start: no window, 109 at once.
TEST(FaultMatrix, OutputClosedAtStart)
{
    for (const Subject& s : Subjects()) {
        SCOPED_TRACE(s.name);
        Sandbox sandbox;
        Request request = s.request();
        // The shell closes its standard output and becomes the helper.
        request.arguments.insert(request.arguments.begin(), {"-c", "exec \"$0\" \"$@\" >&-", XVTUI_BINARY});
        LaunchOptions options = HelperOptions(sandbox);
        options.helper = "/bin/sh";
        const auto from = Clock::now();
        const RunResult run = xvtui::client::Run(request, options, kAnswerTimeout);
        EXPECT_LT(Clock::now() - from, 2s + kExitSlack);
        EXPECT_EQ(run.output.view(), "");
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitStatus, 109);
    }
}

// The dialogs that read standard input before their window: a parent that
// keeps the pipe open and sends nothing, dies meanwhile, or sends in pieces.
TEST(FaultMatrix, InputSilentOrLost)
{
    for (const Subject& s : Subjects()) {
        if (!s.readsInput)
            continue;
        {
            SCOPED_TRACE(std::string(s.name) + ": input silent, total time-out 1 s");
            Sandbox sandbox;
            sandbox.SetLocal(s.timeKey, 1);
            const auto from = Clock::now();
            Started started(s, sandbox, false, "");
            const Outcome outcome = started.Finish(from);
            EXPECT_EQ(outcome.output, kCancelledText);
            EXPECT_EQ(outcome.exitStatus, 110);
            EXPECT_GE(outcome.took, 1s);
            EXPECT_LT(outcome.took, 2500ms + kExitSlack);
        }
        {
            SCOPED_TRACE(std::string(s.name) + ": input silent, parent killed");
            Sandbox sandbox;
            Started started(s, sandbox, true, "");
            ASSERT_FALSE(started.process->WaitForExit(300ms));
            const auto fault = Clock::now();
            started.process->KillIntermediate();
            const Outcome outcome = started.Finish(fault);
            EXPECT_EQ(outcome.output, kLostText);
            EXPECT_EQ(outcome.exitStatus, 109);
            EXPECT_LT(outcome.took, 1s + kExitSlack);
        }
    }
}

// Input in pieces and late is still taken whole: the answer is the one the
// whole input gives.
TEST(FaultMatrix, InputInPiecesAndLate)
{
    for (const Subject& s : Subjects()) {
        if (!s.readsInput || !Answers(s))
            continue;
        SCOPED_TRACE(s.name);
        Sandbox sandbox;
        XClient x;
        Started started(s, sandbox, false, "");
        const std::string input(s.request().input.view());
        for (size_t at = 0; at < input.size(); at += 7) {
            ASSERT_FALSE(started.process->WaitForExit(10ms)); // the parent is slow
            ASSERT_TRUE(started.process->Send(std::string_view(input).substr(at, 7), kAnswerTimeout));
        }
        const XWindow window = ShowWindow(x, started);
        ASSERT_NE(window, kNoWindow);
        for (const Act& act : s.answer)
            act(x, window);
        const Outcome outcome = started.Finish(Clock::now());
        EXPECT_EQ(outcome.output, s.answerBytes);
        EXPECT_EQ(outcome.exitStatus, 0);
    }
}

// The parent killed, or the X server gone, while the window is shown.
TEST(FaultMatrix, LossWhileShown)
{
    enum class Lost { Parent, Display };
    const struct {
        Lost lost;
        const char* what;
        std::string output;
        int exitStatus;
    } rows[] = {{Lost::Parent, "parent killed", kLostText, 109},
                {Lost::Display, "X server killed", "ret=2148073504", 32}};
    for (const Subject& s : Subjects()) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(s.name) + ", " + row.what);
            Sandbox sandbox;
            std::optional<XServer> own; // the test's own display lives on
            if (row.lost == Lost::Display) {
                own.emplace();
                sandbox.SetEnv("DISPLAY", own->Display());
            }
            Started started(s, sandbox, row.lost == Lost::Parent);
            {
                XClient x(own ? own->Display() : std::string()); // closed before its server goes
                ASSERT_NE(ShowWindow(x, started), kNoWindow);
            }
            const auto fault = Clock::now();
            if (own)
                own->Stop();
            else
                started.process->KillIntermediate();
            const Outcome outcome = started.Finish(fault);
            EXPECT_EQ(outcome.output, row.output);
            EXPECT_EQ(outcome.exitStatus, row.exitStatus);
            EXPECT_LT(outcome.took, 2s + kExitSlack);
        }
    }
}

// Bytes no dialog asks for, after what the dialog reads (for the dialogs
// that read none: instead of nothing), the pipe kept open: the answer is
// the one the request alone gives.
TEST(FaultMatrix, InputGarbageAfterTheRequest)
{
    std::string garbage(4096, '\0');
    for (size_t i = 0; i < garbage.size(); ++i)
        garbage[i] = static_cast<char>(i * 167 + 13);
    for (const Subject& s : Subjects()) {
        SCOPED_TRACE(s.name);
        Sandbox sandbox;
        ShowAndEnd(s, sandbox, std::string(s.request().input.view()) + garbage);
    }
}

// Settings files that cannot be read count as missing; binary garbage around
// one good line leaves that line counting (a total time-out of 1 s).
TEST(FaultMatrix, SettingsUnreadableOrGarbage)
{
    enum class Settings { Directory, Fifo, Garbage };
    const std::string garbage("\x00\xff[\x01=\n\xfe\xfe=\x00\n\x7f\x80\x90 = 5\n", 19);
    for (const Subject& s : Subjects()) {
        for (Settings settings : {Settings::Directory, Settings::Fifo, Settings::Garbage}) {
            SCOPED_TRACE(std::string(s.name) + ", settings " +
                         (settings == Settings::Directory ? "a directory" : settings == Settings::Fifo ? "a FIFO" : "garbage"));
            Sandbox sandbox;
            if (settings == Settings::Directory) {
                ASSERT_EQ(mkdir(sandbox.LocalConfig().c_str(), 0700), 0);
            } else if (settings == Settings::Fifo) { // never opened for writing
                ASSERT_EQ(mkfifo(sandbox.LocalConfig().c_str(), 0600), 0);
            }
            if (settings != Settings::Garbage) {
                ShowAndEnd(s, sandbox);
                continue;
            }
            sandbox.WriteFile("local.ini", garbage + "[KeyDevices]\n" + garbage + s.timeKey + " = 1\n" + garbage);
            const auto from = Clock::now();
            Started started(s, sandbox, false);
            const Outcome outcome = started.Finish(from);
            EXPECT_EQ(outcome.output, kCancelledText);
            EXPECT_EQ(outcome.exitStatus, 110);
            // Ends at the time-out's second tick, far before the default's
            // 600 s; the bound leaves room for a sanitizer build's start.
            EXPECT_GE(outcome.took, 1s);
            EXPECT_LT(outcome.took, 4s + kExitSlack);
        }
    }
}

// Catalogue texts that are hostile printf formats or far too long, for every
// text of every dialog that shows catalogue texts: a format the check refuses
// gives way to the built-in text, the window fits the screen (a text cut to
// fit still shows its beginning: the window takes a third of the screen's
// width), and the answer is unchanged.
TEST(FaultMatrix, HostileCatalogue)
{
    std::string words;
    while (words.size() < 100 * 1024)
        words += "word ";
    const struct {
        std::string text;
        int minWidth;
    } rows[] = {{"%s%s%n", 0}, {"%999999999d", 0}, {"%s %s %s", 0}, {"%d %s", 0}, {"%n", 0},
                {std::string(100 * 1024, 'W'), 1024 / 3}, {words, 1024 / 3}};
    const unsigned ids[] = {2003, 2020, 2025, 2027, 2096, 2098, 2099, 2118, 2141, 2142, 2143, 2144};
    for (const auto& [text, minWidth] : rows) {
        Sandbox sandbox;
        std::string msg = "$quote \"\n$set 1\n";
        for (unsigned id : ids)
            msg += std::to_string(id) + " \"" + text + "\"\n";
        ASSERT_TRUE(Gencat(sandbox.Path("libcsp.cat"), msg));
        sandbox.SetEnv("TORVIK_CATALOG_DIR", sandbox.Dir());
        for (const Subject& s : Subjects()) {
            if (!s.showsCatalogue)
                continue;
            SCOPED_TRACE(std::string(s.name) + ", every text " + text.substr(0, 20));
            ShowAndEnd(s, sandbox, {}, minWidth);
        }
    }
}

} // namespace

namespace {

VTUISelectItem_ FullRecord()
{
    VTUISelectItem_ record;
    std::memset(&record, 'W', sizeof record);
    return record;
}

// The chosen record's answer: each name cut to leave its zero.
std::string FullRecordAnswer()
{
    const VTUISelectItem_ answer = xvtui::protocol::SelectAnswer(std::string(255, 'W'), std::string(767, 'W'));
    return std::string(reinterpret_cast<const char*>(&answer), sizeof answer);
}

// Texts far beyond what a screen shows: the window stays within the screen
// (under fatal warnings, so no 32767-pixel warning either) and answers with
// its bytes unchanged.
TEST(FaultMatrix, HugeTexts)
{
    const std::string huge(100 * 1024, 'W'), words = [] {
        std::string text;
        while (text.size() < 100 * 1024)
            text += "word\n";
        return text;
    }();
    const struct {
        const char* what;
        Request request;
        std::vector<Act> answer;
        std::string answerBytes;
        std::vector<Act> before = {}; // what the user does before the window is measured
    } rows[] = {
        {"message of 100 KB", MessageRequest(0, huge), {Press("Return")}, "XVTUI_dont_show_warning=false"},
        {"new password with a 100 KB header", [&] {
             PasswordRequestArgs args = KeyContainerArgs();
             args.header = huge;
             args.title = args.passwordTerm = words;
             return NewPasswordRequest(args);
         }(),
         {Fill({"n3w", "n3w"})}, "XVTUI_passwd=n3w"},
        {"password change with a 100 KB header", [&] {
             PasswordRequestArgs args = KeyContainerArgs();
             args.header = words;
             args.carrierName = args.containerName = huge;
             return ChangePasswordRequest(args);
         }(),
         {Fill({"0ld", "n3w", "n3w"})}, "XVTUI_old_passwd=0ldXVTUI_passwd=n3w"},
        // Every field full, with no terminating zero: the record's size bounds each text.
        {"container whose names fill their fields", ContainerRequest(1, {FullRecord()}),
         {Press("Down"), Press("Return")}, FullRecordAnswer()},
        {"message of 20000 lines", MessageRequest(0, words), {Press("Return")}, "XVTUI_dont_show_warning=false"},
        {"PIN with a 100 KB header", [&] {
             PasswordRequestArgs args = KeyContainerArgs();
             args.header = words;
             args.readerName = huge;
             return PinRequest(args, 3, 3);
         }(),
         {Fill({"1234"})}, PinAnswer(false, false, "1234")},
        {"reader named with 100 KB", RawRequest({"VTSelectReader", huge, "-name", huge, "-applet", huge, "-desc", "D"}),
         {Press("Return")}, "name=" + huge + ";applet=" + huge},
        // Shift+Tab three times from OK reaches the list's last reader; Tab and
        // space open its drop-down, whose items came with the switch.
        {"reader switched to one whose applet is 100 KB",
         SelectReaderRequest("", {{{"A", "B"}, {"DA", "DB"}, "R"}, {{huge, "B"}, {"DS", "DB"}, "S"}}),
         {Press("Tab"), Press("Tab"), Press("Return")}, "name=S;applet=" + huge,
         {Press("ISO_Left_Tab"), Press("ISO_Left_Tab"), Press("ISO_Left_Tab"), Press("Tab"), Press("space"),
          [](XClient& x, XWindow) {
              const XWindow popup = x.WaitForPopup(kWindowTimeout);
              ASSERT_NE(popup, kNoWindow);
              EXPECT_LE(x.Geometry(popup).width, 1024);
              x.PressKey("Escape");
              EXPECT_TRUE(x.WaitForUnmap(popup, kWindowTimeout));
          }}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Sandbox sandbox;
        XClient x;
        ShownDialog dialog(row.request, sandbox, x);
        for (const Act& act : row.before)
            act(x, dialog.Win());
        if (!row.before.empty())
            x.WaitForPaint(dialog.Win(), kWindowTimeout);
        const Rect shown = x.Geometry(dialog.Win());
        EXPECT_LE(shown.width, 1024);
        EXPECT_LE(shown.height, 768);
        for (const Act& act : row.answer)
            act(x, dialog.Win());
        const Answer answer = dialog.Finish();
        EXPECT_TRUE(dialog.Output() == row.answerBytes) << dialog.Output().size() << " bytes";
    }
}

} // namespace
