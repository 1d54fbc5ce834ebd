// RandomParent.cpp: the random-data conversation and its demo handler.
#include "client/RandomParent.h"

#include <algorithm>
#include <functional>

namespace xvtui::client {
namespace {

using Clock = std::chrono::steady_clock;

std::chrono::milliseconds Left(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

LaunchOptions Conversing(LaunchOptions options)
{
    options.conversation = true;
    return options;
}

} // namespace

Request RandomRequest()
{
    Request request;
    request.arguments = {"VTRndmBio"};
    request.decoder = [](std::string_view output, std::vector<Field>& fields, std::string& problem) {
        fields.clear();
        if (output.empty())
            return true;
        problem = "a successful random-data dialog writes nothing";
        return false;
    };
    return request;
}

RandomSession::RandomSession(const LaunchOptions& options, const StateRecord& initial, const Request& request)
    : m_process(request, Conversing(options)), m_state(initial)
{
    const auto& bytes = initial.Raw();
    // A helper that is gone already shows in its answer.
    m_process.Send(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                   std::chrono::seconds(5));
}

std::optional<StepEvent> RandomSession::NextStep(std::chrono::milliseconds timeout)
{
    if (!m_finalText.empty())
        return std::nullopt;
    const Clock::time_point deadline = Clock::now() + timeout;
    std::array<unsigned char, protocol::kStepMessageSize> bytes{};
    std::size_t got = m_process.Receive(bytes.data(), 1, timeout);
    if (got == 1 && bytes[0] == protocol::kStepMark)
        got += m_process.Receive(bytes.data() + 1, bytes.size() - 1, Left(deadline));
    if (got == bytes.size())
        return protocol::DecodeStep(bytes);
    // Not a step: the start of the helper's final text.
    m_finalText.assign(reinterpret_cast<const char*>(bytes.data()), got);
    return std::nullopt;
}

bool RandomSession::Reply(std::uint32_t status, const StateRecord& state, std::chrono::milliseconds timeout)
{
    m_state = state;
    const auto bytes = protocol::EncodeReply(status, state);
    return m_process.Send(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), timeout);
}

RunResult RandomSession::Finish(std::optional<std::chrono::milliseconds> timeout)
{
    m_process.EndInput();
    RunResult run = m_process.Finish(timeout);
    if (!m_finalText.empty()) {
        secure::String output(m_finalText);
        output.append(run.output);
        run.output = std::move(output);
        m_finalText.clear();
    }
    return run;
}

RunResult RandomSession::Serve(const StepHandler& handler, std::optional<std::chrono::milliseconds> timeout,
                               std::size_t* steps)
{
    const Clock::time_point deadline =
        timeout ? Clock::now() + *timeout : Clock::time_point::max();
    const auto left = [&] { return timeout ? Left(deadline) : std::chrono::milliseconds(std::chrono::hours(24)); };
    std::size_t served = 0;
    while (!timeout || Clock::now() < deadline) {
        const std::optional<StepEvent> event = NextStep(left());
        if (!event)
            break;
        const std::uint32_t status = handler(*event, m_state);
        ++served;
        if (!Reply(status, m_state, left()))
            break;
    }
    if (steps != nullptr)
        *steps = served;
    return Finish(timeout ? std::optional(left()) : std::nullopt);
}

RandomDemo::RandomDemo(std::uint64_t units) : m_units(units) {}

StateRecord RandomDemo::Initial() const
{
    StateRecord state;
    state.SetNeeded(m_units);
    state.SetPromptsEnabled(true);
    return state;
}

std::uint32_t RandomDemo::operator()(const StepEvent& event, StateRecord& state)
{
    // The record is the parent's own: start from what was sent last.
    state.SetMoreSteps(false);
    const std::int32_t direction = state.Direction();
    const bool asking = direction != 0 && state.PromptCounter() > 2;
    bool accepted = false;
    if (event.kind == static_cast<std::uint64_t>(protocol::StepKind::Key)) {
        ++m_keys;
        accepted = true;
    } else if (event.kind == static_cast<std::uint64_t>(protocol::StepKind::Motion)) {
        ++m_motions;
        const bool moved = !m_lastX || *m_lastX != event.x || *m_lastY != event.y;
        const std::int64_t dx = m_lastX ? std::int64_t{event.x} - *m_lastX : 0;
        accepted = moved && (!asking || dx * direction > 0);
        if (accepted && asking) {
            state.SetPromptCounter(state.PromptCounter() - 1);
            if (state.PromptCounter() <= 2) {
                state.SetDirection(0);
                state.SetPromptCounter(0);
            }
        }
        m_lastX = event.x;
        m_lastY = event.y;
    }
    if (accepted)
        ++m_accepted;
    state.SetNeeded(m_units);
    state.SetGathered(m_accepted);

    // A right move asked for at a third, a left one at two thirds; more steps
    // announced once past 85 per cent.
    if (!asking && state.Direction() == 0 && m_asked < 2 && m_accepted * 3 >= m_units * (m_asked + 1) &&
        m_accepted < m_units) {
        state.SetDirection(m_asked == 0 ? 1 : -1);
        state.SetPromptCounter(2 + kMovesAsked);
        ++m_asked;
    }
    if (!m_announced && m_accepted * 100 >= m_units * 85 && m_accepted < m_units) {
        state.SetMoreSteps(true);
        m_announced = true;
    }
    return m_accepted >= m_units ? 1 : 0;
}

std::string RandomDemo::Summary(const StateRecord& state) const
{
    return "gathered " + std::to_string(state.Gathered()) + " of " + std::to_string(state.Needed()) +
           " units from " + std::to_string(m_motions + m_keys) + " events (" + std::to_string(m_motions) +
           " motions, " + std::to_string(m_keys) + " keys)";
}

RunResult RunRandomDemo(std::uint64_t units, const LaunchOptions& options,
                        std::optional<std::chrono::milliseconds> timeout, std::string& summary)
{
    RandomDemo demo(units);
    RandomSession session(options, demo.Initial());
    const RunResult run = session.Serve(std::ref(demo), timeout);
    summary = demo.Summary(session.State());
    return run;
}

} // namespace xvtui::client
