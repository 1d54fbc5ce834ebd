// The parent of `xvtui-ask random`: which events it credits, when it asks for
// a direction and announces more steps, and when it has enough.
#include "client/RandomParent.h"

#include <gtest/gtest.h>

namespace {

using namespace xvtui::client;
using xvtui::protocol::KeyStep;
using xvtui::protocol::MotionStep;

TEST(RandomDemo, CreditsAsksAnnouncesAndEnds)
{
    RandomDemo demo(30);
    StateRecord state = demo.Initial();
    EXPECT_EQ(state.Needed(), 30u);
    EXPECT_TRUE(state.PromptsEnabled());

    int x = 0;
    std::uint32_t status = 0;
    const auto moveBy = [&](int dx) { return status = demo(MotionStep(0, x += dx, 5), state); };

    EXPECT_EQ(demo(KeyStep(0), state), 0u);
    moveBy(1);
    moveBy(0); // no move: nothing gained
    EXPECT_EQ(state.Gathered(), 2u);
    while (state.Gathered() < 10)
        moveBy(-1);
    // A third gathered: a right move is asked for, and only right moves count.
    EXPECT_EQ(state.Direction(), 1);
    EXPECT_GT(state.PromptCounter(), 2u);
    moveBy(-3);
    EXPECT_EQ(state.Gathered(), 10u);
    for (std::uint32_t i = 0; i < RandomDemo::kMovesAsked; ++i)
        moveBy(2);
    EXPECT_EQ(state.Gathered(), 10u + RandomDemo::kMovesAsked);
    EXPECT_EQ(state.Direction(), 0) << "the prompt ends once the moves were made";
    // Two thirds gathered by then: the next step asks for a left move.
    EXPECT_EQ(demo(KeyStep(0), state), 0u);
    EXPECT_EQ(state.Direction(), -1);

    // More steps are announced once, past 85 per cent.
    int announced = 0;
    while (status == 0) {
        moveBy(-1);
        announced += state.MoreSteps();
    }
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(state.Gathered(), 30u);
    EXPECT_EQ(demo.Summary(state), "gathered 30 of 30 units from " + std::to_string(demo.Motions() + demo.Keys()) +
                                       " events (" + std::to_string(demo.Motions()) + " motions, " +
                                       std::to_string(demo.Keys()) + " keys)");
}

} // namespace
