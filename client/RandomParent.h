// RandomParent.h: the parent's half of the random-data dialog ("VTRndmBio").
//
// A RandomSession starts the helper in conversation mode and sends it the
// initial state record; then the caller takes its step messages one by one
// (NextStep) and replies to each (Reply), or hands a StepHandler to Serve,
// which does both until the helper ends. The helper's final text (nothing on
// success, "ret=..." otherwise) shares its output with the step messages;
// the session keeps it apart and Finish returns it as the run's output.
//
// RandomDemo is the handler behind `xvtui-ask random`: one unit per accepted
// event, a left or right move asked for now and then, more steps announced
// once, done when enough is gathered.
#pragma once

#include "client/Answer.h"
#include "client/HelperProcess.h"
#include "client/Request.h"
#include "protocol/RandomStep.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace xvtui::client {

using protocol::StateRecord;
using protocol::StepEvent;

// "VTRndmBio", no arguments; a successful answer is no text at all. Its input
// is left empty: the session sends the record.
Request RandomRequest();

// Updates `state` for one step and returns the reply's status (non-zero: done).
using StepHandler = std::function<std::uint32_t(const StepEvent& event, StateRecord& state)>;

class RandomSession {
public:
    // Starts the helper (conversation mode is forced) and sends `initial`.
    // Throws ClientError when it cannot start. `request` may name another
    // program that speaks the exchange (a benchmark's reference client).
    RandomSession(const LaunchOptions& options, const StateRecord& initial,
                  const Request& request = RandomRequest());

    HelperProcess& Process() { return m_process; }
    // The record as last sent (by Serve: as the handler left it).
    const StateRecord& State() const { return m_state; }

    // The next step message. Nothing when the helper wrote something else
    // (its final text, kept for Finish), ended, or `timeout` passed first.
    std::optional<StepEvent> NextStep(std::chrono::milliseconds timeout);
    // Sends status and record; false when the helper no longer reads.
    bool Reply(std::uint32_t status, const StateRecord& state, std::chrono::milliseconds timeout);

    // Closes the helper's input and collects it, as HelperProcess::Finish.
    RunResult Finish(std::optional<std::chrono::milliseconds> timeout = std::nullopt);

    // Replies to every step with `handler`, which updates State(), until the helper ends, then
    // finishes; past `timeout` (for the whole run) the helper is killed.
    // `steps` counts the steps served.
    RunResult Serve(const StepHandler& handler, std::optional<std::chrono::milliseconds> timeout,
                    std::size_t* steps = nullptr);

private:
    HelperProcess m_process;
    StateRecord m_state;
    std::string m_finalText; // bytes of the helper's answer read while waiting for a step
};

class RandomDemo {
public:
    explicit RandomDemo(std::uint64_t units);

    // The record to start with: nothing gathered, `units` needed, prompts on.
    StateRecord Initial() const;
    // One step: credits an accepted event, asks for moves, announces.
    std::uint32_t operator()(const StepEvent& event, StateRecord& state);

    std::uint64_t Accepted() const { return m_accepted; }
    std::uint64_t Motions() const { return m_motions; }
    std::uint64_t Keys() const { return m_keys; }
    // "gathered 200 of 200 units from 250 events (230 motions, 20 keys)".
    std::string Summary(const StateRecord& state) const;

    // Accepted motions the way a direction is asked for.
    static constexpr std::uint32_t kMovesAsked = 12;

private:
    std::uint64_t m_units;
    std::uint64_t m_accepted = 0;
    std::uint64_t m_motions = 0;
    std::uint64_t m_keys = 0;
    std::optional<std::int32_t> m_lastX;
    std::optional<std::int32_t> m_lastY;
    int m_asked = 0;        // directions asked for so far
    bool m_announced = false;
};

// Runs the demo against the helper; `summary` receives RandomDemo::Summary.
RunResult RunRandomDemo(std::uint64_t units, const LaunchOptions& options,
                        std::optional<std::chrono::milliseconds> timeout, std::string& summary);

} // namespace xvtui::client
