// RandomOnScreen.h: the random-data dialog on screen, the test playing its
// parent step by step. Header-only, like Blackbox.h.
#pragma once

#include "client/RandomParent.h"
#include "common/Blackbox.h"

#include <optional>
#include <stdexcept>

namespace testkit {

inline constexpr Millis kStepTimeout = 10s;

// The helper started with `sandbox`'s settings and environment and sent
// `initial`; its window found and focused. Throws when no window shows.
struct RandomOnScreen {
    explicit RandomOnScreen(const Sandbox& sandbox, const xvtui::client::StateRecord& initial = {},
                            bool intermediateParent = false)
        : session(HelperOptions(sandbox, intermediateParent), initial),
          window(x.WaitForWindow(session.Process().Pid(), kWindowTimeout))
    {
        if (window == kNoWindow)
            throw std::runtime_error("the helper showed no window");
        x.Focus(window);
        origin = x.Geometry(window);
    }

    // Moves the pointer to (dx, dy) of the window.
    void MoveTo(int dx, int dy) { x.MovePointer(origin.x + dx, origin.y + dy); }
    // The next step message; throws when none comes.
    xvtui::client::StepEvent Step()
    {
        const std::optional<xvtui::client::StepEvent> step = session.NextStep(kStepTimeout);
        if (!step)
            throw std::runtime_error("no step message came");
        return *step;
    }
    // Replies to the step with `status` and `state` (by default the record as last sent).
    void Reply(std::uint32_t status = 0, const std::optional<xvtui::client::StateRecord>& state = std::nullopt)
    {
        ASSERT_TRUE(session.Reply(status, state ? *state : session.State(), kStepTimeout));
    }

    XClient x;
    xvtui::client::RandomSession session;
    XWindow window;
    Rect origin;
};

} // namespace testkit
