// xvtui_bench_random: how fast the random-data dialog's lock-step exchange
// runs, against the floor of any X client and of any two processes.
//
// One parent (client/RandomParent.h) answers every step at once; three
// partners speak the same exchange (a 21-byte step message in five writes, a
// 156-byte reply):
//   helper  the built xvtui "VTRndmBio", its window fed with XTest pointer
//           moves sent ahead, so that motion events always wait in its queue;
//   xlib    this program as a bare Xlib client (--probe-xlib): one window,
//           one exchange per MotionNotify, fed the same way;
//   pipe    this program as a bare process (--probe-pipe N): N exchanges
//           back to back, no X at all.
// A round takes STEPS steps of each; the rate is the steps after the first
// over the time from the first step's arrival to the last reply. See
// README.md here for the figures.
#include "client/RandomParent.h"
#include "common/Sandbox.h"
#include "common/XClient.h"
#include "common/Xvfb.h"
#include "bench/Stats.h"
#include "protocol/RandomStep.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
namespace client = xvtui::client;
namespace protocol = xvtui::protocol;

constexpr auto kWaitLimit = 20s;
constexpr int kWindowWidth = 550;
constexpr int kWindowHeight = 350;

// The bare Xlib client: the window the helper would have, centred, and the
// exchange on each motion event, with plain blocking reads.
int ProbeXlib()
{
    const protocol::Pipe pipe = protocol::Pipe::Standard();
    protocol::StateRecord state;
    pipe.Read(state.Data(), protocol::kStateRecordSize);
    Display* dpy = XOpenDisplay(nullptr);
    if (dpy == nullptr)
        return 2;
    const int screen = DefaultScreen(dpy);
    const Window window = XCreateSimpleWindow(
        dpy, RootWindow(dpy, screen), (DisplayWidth(dpy, screen) - kWindowWidth) / 2,
        (DisplayHeight(dpy, screen) - kWindowHeight) / 2, kWindowWidth, kWindowHeight, 0, 0,
        WhitePixel(dpy, screen));
    const long pid = getpid();
    XChangeProperty(dpy, window, XInternAtom(dpy, "_NET_WM_PID", False), XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&pid), 1);
    XSelectInput(dpy, window, PointerMotionMask);
    XMapWindow(dpy, window);
    for (;;) {
        XEvent event;
        XNextEvent(dpy, &event);
        if (event.type != MotionNotify)
            continue;
        protocol::SendStep(pipe, protocol::StepEvent{static_cast<std::uint64_t>(protocol::StepKind::Motion),
                                                     static_cast<std::uint32_t>(event.xmotion.time),
                                                     event.xmotion.x, event.xmotion.y});
        std::uint32_t status = 0;
        if (!pipe.ReadExactly(&status, sizeof status) || !pipe.ReadExactly(state.Data(), protocol::kStateRecordSize))
            break;
        if (status != 0)
            break;
    }
    XCloseDisplay(dpy);
    return 0;
}

// Two bare processes: N exchanges with nothing in between.
int ProbePipe(long steps)
{
    const protocol::Pipe pipe = protocol::Pipe::Standard();
    protocol::StateRecord state;
    pipe.Read(state.Data(), protocol::kStateRecordSize);
    for (long i = 0; i < steps; ++i) {
        protocol::SendStep(pipe, protocol::KeyStep(static_cast<std::uint32_t>(i)));
        std::uint32_t status = 0;
        if (!pipe.ReadExactly(&status, sizeof status) || !pipe.ReadExactly(state.Data(), protocol::kStateRecordSize))
            return 1;
    }
    return 0;
}

// CPU time a process has run, in nanoseconds (its first schedstat field).
double CpuNanoseconds(pid_t pid)
{
    std::ifstream schedstat("/proc/" + std::to_string(pid) + "/schedstat");
    double nanoseconds = 0;
    schedstat >> nanoseconds;
    return nanoseconds;
}

struct Rate {
    double stepsPerSecond = 0;
    double partnerCpuPerStep = 0; // microseconds
};

// Serves `steps` steps of `session` as fast as it can; the last reply says
// "done".
Rate Serve(client::RandomSession& session, int steps)
{
    const protocol::StateRecord state;
    const pid_t partner = session.Process().Pid();
    Clock::time_point first{};
    double firstCpu = 0;
    double lastCpu = 0;
    int served = 0;
    while (served < steps) {
        if (!session.NextStep(kWaitLimit))
            throw std::runtime_error("only " + std::to_string(served) + " of " + std::to_string(steps) +
                                     " steps came");
        if (served++ == 0) {
            first = Clock::now();
            firstCpu = CpuNanoseconds(partner);
        }
        if (served == steps)
            lastCpu = CpuNanoseconds(partner);
        if (!session.Reply(served == steps ? 1 : 0, state, kWaitLimit))
            throw std::runtime_error("the partner stopped reading");
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - first).count();
    const client::RunResult run = session.Finish(kWaitLimit);
    if (!run.exited || run.exitStatus != 0)
        throw std::runtime_error("the partner ended badly: status " + std::to_string(run.exitStatus) +
                                 ", output '" + std::string(run.output.view()) + "'");
    return {(steps - 1) / seconds, (lastCpu - firstCpu) / 1000 / (steps - 1)};
}

// An X partner: its window found, `steps` pointer moves sent into it ahead.
Rate MeasureX(const client::LaunchOptions& launch, const client::Request& request, testkit::XClient& x, int steps)
{
    x.MovePointer(0, 0); // outside the centred window
    x.Sync();
    client::RandomSession session(launch, protocol::StateRecord{}, request);
    const testkit::XWindow window = x.WaitForWindow(session.Process().Pid(), kWaitLimit);
    if (window == testkit::kNoWindow)
        throw std::runtime_error("no window of " + request.arguments.front());
    const testkit::Rect at = x.Geometry(window);
    // Every move goes somewhere else, so every one is a motion event.
    for (int i = 0; i < steps; ++i)
        x.MovePointer(at.x + 20 + i % 400, at.y + 100 + (i / 400) % 100);
    x.Sync();
    return Serve(session, steps);
}

int Usage()
{
    std::fputs("usage: xvtui_bench_random [--steps N] [--rounds N] [--helper PATH]\n"
               "Steps per second of the random-data exchange: the helper, a bare Xlib client\n"
               "doing the same exchange per motion event, and two bare processes.\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (!args.empty() && args[0] == "--probe-xlib")
        return ProbeXlib();
    if (args.size() == 2 && args[0] == "--probe-pipe")
        return ProbePipe(std::atol(args[1].c_str()));

    int steps = 2000;
    int rounds = 5;
    std::string helper = XVTUI_BINARY;
    for (size_t i = 0; i < args.size(); ++i) {
        if (i + 1 >= args.size())
            return Usage();
        if (args[i] == "--steps")
            steps = std::atoi(args[++i].c_str());
        else if (args[i] == "--rounds")
            rounds = std::atoi(args[++i].c_str());
        else if (args[i] == "--helper")
            helper = args[++i];
        else
            return Usage();
    }
    if (steps < 2 || rounds < 1)
        return Usage();

    try {
        testkit::PrivateDisplay();
        testkit::Sandbox sandbox;
        testkit::XClient x;
        const std::string self = client::SelfExecutable();
        const client::LaunchOptions ours{.helper = helper, .environment = sandbox.Environment()};
        const client::LaunchOptions bare{.helper = self, .environment = sandbox.Environment()};
        std::map<std::string, std::vector<double>> rates;
        std::map<std::string, std::vector<double>> cpu;
        for (int round = 0; round <= rounds; ++round) { // round 0 warms up
            const Rate helperRate = MeasureX(ours, client::RandomRequest(), x, steps);
            const Rate xlibRate = MeasureX(bare, client::RawRequest({"--probe-xlib"}), x, steps);
            client::RandomSession pipeSession(bare, protocol::StateRecord{},
                                              client::RawRequest({"--probe-pipe", std::to_string(steps)}));
            const Rate pipeRate = Serve(pipeSession, steps);
            if (round == 0)
                continue;
            for (const auto& [name, rate] : {std::pair{"helper", helperRate}, {"xlib", xlibRate}, {"pipe", pipeRate}}) {
                rates[name].push_back(rate.stepsPerSecond);
                cpu[name].push_back(rate.partnerCpuPerStep);
            }
        }
        std::printf("%d steps a round, %d rounds (after one warm-up); steps per second:\n", steps, rounds);
        std::printf("%-8s %10s %10s %10s %12s %12s\n", "partner", "median", "min", "max", "us per step",
                    "partner CPU");
        for (const char* name : {"helper", "xlib", "pipe"}) {
            const std::vector<double>& series = rates[name];
            const bench::Summary summary = bench::Summarize(series);
            double low = series.front();
            for (double rate : series)
                low = std::min(low, rate);
            std::printf("%-8s %10.0f %10.0f %10.0f %12.1f %9.1f us\n", name, summary.median, low, summary.max,
                        1e6 / summary.median, bench::Summarize(cpu[name]).median);
        }
        const double ratio = bench::Summarize(rates["helper"]).median / bench::Summarize(rates["xlib"]).median;
        std::printf("helper / bare Xlib client: %.2f (goal: at least 0.50)\n", ratio);
        return ratio >= 0.5 ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "xvtui_bench_random: %s\n", e.what());
        return 3;
    }
}
