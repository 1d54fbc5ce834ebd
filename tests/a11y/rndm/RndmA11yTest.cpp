// The random-data dialog as a screen reader finds it, and run with keys
// alone; the test plays the parent.
#include "common/RandomOnScreen.h"
#include "common/a11y/A11yDialog.h"

#include <gtest/gtest.h>

namespace {

using namespace testkit;
using namespace xvtui::client;

const std::string kAction = "Move mouse cursor in window or press keys to provide random data";

// One step the test answers with `state`.
void Answer(RandomOnScreen& dialog, const StateRecord& state, std::uint32_t status = 0)
{
    dialog.Step();
    dialog.Reply(status, state);
}

StateRecord Needing(std::uint64_t units)
{
    StateRecord state;
    state.SetNeeded(units);
    return state;
}

TEST(RndmA11y, InstructionNamesTheBarWhoseValueFollowsAndPromptsAreAnnounced)
{
    AccessibilityBus& bus = PrivateAccessibilityBus();
    Sandbox sandbox;
    bus.Prepare(sandbox);
    RandomOnScreen dialog(sandbox, Needing(4));
    const pid_t pid = dialog.session.Process().Pid();
    const A11yNode tree =
        bus.WaitForWindow(pid, [](const A11yNode& n) { return n.role == "progress bar"; }, kWindowTimeout);
    EXPECT_EQ(tree.description, kAction);
    const A11yNode* bar = tree.FindRole("progress bar");
    EXPECT_EQ(bar->name, kAction);
    EXPECT_EQ(bar->labelledBy, std::vector<std::string>{kAction});
    EXPECT_EQ(bar->value.value_or(-1), 0.0);
    const A11yNode* prompt = tree.FindRole("alert");
    ASSERT_NE(prompt, nullptr);
    EXPECT_EQ(prompt->name, "");

    // A motion answered with half gathered and a move to the right asked for.
    StateRecord half = Needing(4);
    half.SetGathered(2);
    half.SetDirection(1);
    half.SetPromptsEnabled(true);
    half.SetPromptCounter(3);
    dialog.MoveTo(30, 40);
    Answer(dialog, half);
    EXPECT_TRUE(bus.WaitForEvent(
                       [](const A11yEvent& e) {
                           return e.sourceRole == "alert" && e.type == "object:property-change:accessible-name" &&
                                  e.sourceName == "Move mouse pointer right";
                       },
                       kWindowTimeout)
                    .has_value());
    // The next step shows the half on the bar.
    dialog.x.PressKey("a");
    Answer(dialog, half);
    bus.WaitForWindow(
        pid, [](const A11yNode& n) { return n.role == "progress bar" && n.value.value_or(0) > 0; }, kWindowTimeout);
    dialog.x.PressKey("b");
    Answer(dialog, half, 1);
    const RunResult run = dialog.session.Finish(kAnswerTimeout);
    EXPECT_EQ(run.exitStatus, 0);
}

// Keys alone: key steps until the parent is done, or space on the focused
// Cancel button (its key is a step first).
TEST(RndmKeyboard, AnsweredAndCancelledWithKeysOnly)
{
    const struct {
        const char* what;
        const char* key;
        std::uint32_t status;
        std::string output;
        int exitStatus;
    } cases[] = {
        {"done after a key step", "x", 1, "", 0},
        {"space on Cancel", "space", 0, "ret=2147942487", 87},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        AccessibilityBus& bus = PrivateAccessibilityBus();
        Sandbox sandbox;
        bus.Prepare(sandbox);
    RandomOnScreen dialog(sandbox, Needing(4));
        dialog.x.PressKey(c.key);
        Answer(dialog, Needing(4), c.status);
        const RunResult run =
            dialog.session.Serve([](const StepEvent&, StateRecord&) { return 0u; }, kAnswerTimeout);
        EXPECT_EQ(run.output.view(), c.output);
        EXPECT_EQ(run.exitStatus, c.exitStatus);
    }
}

} // namespace
