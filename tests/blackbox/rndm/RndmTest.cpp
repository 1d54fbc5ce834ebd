// The random-data dialog seen from its parent: real pointer motion and key
// presses through XTest, the test playing the parent's side step by step.
#include "common/RandomOnScreen.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace testkit;
using namespace xvtui::client;
using xvtui::protocol::StepKind;

constexpr std::uint64_t kMotion = static_cast<std::uint64_t>(StepKind::Motion);
constexpr std::uint64_t kKey = static_cast<std::uint64_t>(StepKind::Key);

TEST(Random, MotionSendsWindowCoordinatesAndKeysSendZeros)
{
    Sandbox sandbox;
    RandomOnScreen dialog(sandbox);
    dialog.MoveTo(100, 150);
    const StepEvent motion = dialog.Step();
    EXPECT_EQ(motion.kind, kMotion);
    EXPECT_EQ(motion.x, 100);
    EXPECT_EQ(motion.y, 150);
    EXPECT_NE(motion.time, 0u);
    dialog.Reply();

    dialog.x.PressKey("a");
    const StepEvent key = dialog.Step();
    EXPECT_EQ(key, (StepEvent{kKey, key.time, 0, 0}));
    EXPECT_GE(key.time, motion.time);
    dialog.Reply();

    dialog.MoveTo(101, 150);
    EXPECT_EQ(dialog.Step().x, 101);
}

// The same key twice in a row gives nothing the second time: A, A, B, A sends
// three key steps; the motion after them shows there was no fourth.
TEST(Random, RepeatedKeyIsSentOnce)
{
    Sandbox sandbox;
    RandomOnScreen dialog(sandbox);
    for (const char* key : {"a", "a", "b", "a"})
        dialog.x.PressKey(key);
    dialog.MoveTo(10, 20);
    std::vector<std::uint64_t> kinds;
    for (int i = 0; i < 4; ++i) {
        kinds.push_back(dialog.Step().kind);
        dialog.Reply();
    }
    EXPECT_EQ(kinds, (std::vector<std::uint64_t>{kKey, kKey, kKey, kMotion}));
}

// Events that wait while a step is out keep their order: queued motions are
// taken in a batch, and the first other event still comes where it was.
TEST(Random, QueuedEventsKeepTheirOrder)
{
    Sandbox sandbox;
    RandomOnScreen dialog(sandbox);
    dialog.MoveTo(10, 10);
    dialog.MoveTo(11, 10);
    dialog.x.PressKey("a");
    dialog.MoveTo(12, 10);
    dialog.x.PressKey("b");
    dialog.MoveTo(13, 10);
    dialog.MoveTo(14, 10);
    std::vector<std::pair<std::uint64_t, std::int32_t>> steps;
    for (int i = 0; i < 7; ++i) {
        const StepEvent step = dialog.Step();
        steps.emplace_back(step.kind, step.x);
        dialog.Reply();
    }
    EXPECT_EQ(steps, (std::vector<std::pair<std::uint64_t, std::int32_t>>{
                         {kMotion, 10}, {kMotion, 11}, {kKey, 0}, {kMotion, 12}, {kKey, 0}, {kMotion, 13}, {kMotion, 14}}));
}

// The Cancel button's handler raises the bad-arguments error on purpose;
// the pointer's way to it is served as steps.
TEST(Random, CancelButtonEndsWithBadArguments)
{
    Sandbox sandbox;
    RandomOnScreen dialog(sandbox);
    ClickButton(-1)(dialog.x, dialog.window);
    const RunResult run = dialog.session.Serve([](const StepEvent&, StateRecord&) { return 0u; }, kAnswerTimeout);
    EXPECT_EQ(run.output.view(), "ret=2147942487");
    EXPECT_EQ(run.exitStatus, 87);
}

// A slow parent while motions wait far ahead: the time-out ("bio_time" 1:
// the second tick, about 2 s after start) still ends the dialog on time, not
// after the queued motions have all been served.
TEST(Random, SlowParentDoesNotHoldOffTheTimeOut)
{
    Sandbox sandbox;
    sandbox.SetLocal("bio_time", 1);
    RandomOnScreen dialog(sandbox);
    for (int i = 0; i < 120; ++i)
        dialog.MoveTo(10 + i, 10);
    std::size_t steps = 0;
    const RunResult run = dialog.session.Serve(
        [](const StepEvent&, StateRecord&) {
            std::this_thread::sleep_for(100ms); // the parent's own work on a step
            return 0u;
        },
        kAnswerTimeout, &steps);
    EXPECT_EQ(run.output.view(), "ret=2148532334");
    EXPECT_LE(steps, 30u) << "about 20 steps of 100 ms fit in the 2 s";
}

// Records cut short while the parent keeps its pipe open and waits for the
// next step: the first record and a reply's record are each taken as they
// come (the rest stays as it was), and the steps go on.
TEST(Random, ShortRecordsAreTakenAsTheyCome)
{
    Sandbox sandbox;
    XClient x;
    LaunchOptions options = HelperOptions(sandbox);
    options.conversation = true;
    HelperProcess helper(RandomRequest(), options);
    const std::string shortRecord(100, '\0');
    ASSERT_TRUE(helper.Send(shortRecord, kStepTimeout));
    const XWindow window = x.WaitForWindow(helper.Pid(), kWindowTimeout);
    ASSERT_NE(window, kNoWindow) << "the first record waits for bytes that never come";
    x.Focus(window);
    const Rect origin = x.Geometry(window);
    const auto step = [&helper](int x) {
        std::array<unsigned char, xvtui::protocol::kStepMessageSize> bytes{};
        ASSERT_EQ(helper.Receive(bytes.data(), bytes.size(), kStepTimeout), bytes.size()) << "no step came";
        const std::optional<StepEvent> event = xvtui::protocol::DecodeStep(bytes);
        ASSERT_TRUE(event.has_value());
        EXPECT_EQ(*event, (StepEvent{kMotion, event->time, x, 40}));
    };
    x.MovePointer(origin.x + 30, origin.y + 40);
    step(30);
    ASSERT_TRUE(helper.Send(std::string(4, '\0') + shortRecord, kStepTimeout)); // status 0
    x.MovePointer(origin.x + 31, origin.y + 40);
    step(31);
    const auto done = xvtui::protocol::EncodeReply(1, StateRecord{});
    ASSERT_TRUE(helper.Send(std::string_view(reinterpret_cast<const char*>(done.data()), done.size()), kStepTimeout));
    helper.EndInput();
    const RunResult run = helper.Finish(kAnswerTimeout);
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output.view(), "");
}

// A parent that dies while the helper waits for its reply, its pipes still
// open elsewhere: the helper does not hang in the read but ends with 109.
TEST(Random, ParentDyingDuringAStepEndsWithBrokenPipe)
{
    Sandbox sandbox;
    RandomOnScreen dialog(sandbox, {}, true);
    dialog.MoveTo(50, 60);
    dialog.Step();
    dialog.session.Process().KillIntermediate();
    EXPECT_TRUE(dialog.session.Process().WaitForExit(2s));
    const RunResult run = dialog.session.Finish(kAnswerTimeout);
    EXPECT_EQ(run.output.view(), "ret=109");
    EXPECT_EQ(run.exitStatus, 109);
    EXPECT_NE(sandbox.ReadLog().find("broken pipe"), std::string::npos);
}

// A parent that closes the helper's input: every step gets an empty reply at
// once, so the window stays alive and can still be closed.
TEST(Random, ClosedInputNeverFreezesTheWindow)
{
    Sandbox sandbox;
    RandomOnScreen dialog(sandbox);
    dialog.session.Process().EndInput();
    for (int i = 0; i < 3; ++i) {
        dialog.MoveTo(70 + i, 80);
        EXPECT_EQ(dialog.Step().x, 70 + i);
    }
    dialog.x.SendDeleteWindow(dialog.window);
    const RunResult run = dialog.session.Finish(kAnswerTimeout);
    EXPECT_EQ(run.output.view(), "ret=2148532334");
}

} // namespace
