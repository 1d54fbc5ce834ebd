// Peers.cpp: the helper's dialogs beside the floor and the peers, in one run.
#include "bench/Peers.h"

#include "bench/Options.h"
#include "bench/ProcessFigures.h"
#include "bench/Stats.h"
#include "bench/Warnings.h"

#include "client/HelperProcess.h"
#include "client/PasswordRequest.h"
#include "client/RandomParent.h"
#include "client/ContainerRequest.h"
#include "client/ReaderRequest.h"
#include "client/Request.h"
#include "common/PasswordRequests.h"
#include "common/Sandbox.h"
#include "common/XClient.h"
#include "common/Xvfb.h"

#include <X11/Xlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <signal.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>
#include <vector>

#include <poll.h>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
namespace client = xvtui::client;

constexpr auto kWaitLimit = 20s;
// A window counts as drawn once its damage has been quiet this long.
constexpr auto kPaintQuiet = 100ms;
// The message dialog is shown by a timer this long after its main loop starts.
constexpr double kMessageShowDelayMs = 50;

constexpr const char* kUsage =
    "usage: xvtui_bench peers [--runs N] [--idle SECONDS] [--skip SECONDS] [--only LIST]\n"
    "                         [--baseline PATH] [--check]\n"
    "\n"
    "Every dialog of the helper, the floor (a bare GTK+ 2 window with an entry and two\n"
    "buttons) and the peers found installed, round-robin on a private Xvfb, N rounds\n"
    "(default 9, after one unmeasured warm-up round). Per sample: spawn -> window mapped,\n"
    "CPU time until mapped, CPU time of the dialog and of the X server while the drawn,\n"
    "focused window waits SECONDS (default 10), and peak RSS. Medians with min-max, and\n"
    "ratios to the floor and to pinentry-gtk-2 from the same run.\n"
    "--only   comma-separated names (pin, new-password, change-password, message, reader,\n"
    "         container, random, floor, pinentry-gtk-2, zenity, gnome-ssh-askpass,\n"
    "         x11-ssh-askpass)\n"
    "--skip   leave out the first SECONDS of waiting (default 0): the cost of a dialog that\n"
    "         has waited a while\n"
    "--baseline  also every dialog of the helper at PATH (another build), as NAME@baseline,\n"
    "         to compare a change within one run\n"
    "--check  exit with 1 when a goal is missed\n";

// ---- figures of other processes ---------------------------------------------------

// CPU time of `pid` so far, in ms: all its threads, those that have ended
// too (a thread that reads the font configuration ends before the window
// maps), from the scheduler's own nanosecond account; nullopt when the
// process is gone.
std::optional<double> CpuMs(pid_t pid)
{
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &time) != 0)
        return std::nullopt;
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// The Xvfb this process started (the test kit's private server).
pid_t ChildXServer()
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream in(entry.path() / "stat");
        std::string line;
        if (!std::getline(in, line))
            continue;
        const std::size_t open = line.find('('), close = line.rfind(')');
        if (open == std::string::npos || close == std::string::npos)
            continue;
        std::istringstream rest(line.substr(close + 2));
        char state = 0;
        pid_t parent = 0;
        if (line.substr(open + 1, close - open - 1) == "Xvfb" && (rest >> state >> parent) && parent == getpid())
            return static_cast<pid_t>(std::stol(line.substr(0, open)));
    }
    throw std::runtime_error("cannot find the private Xvfb");
}

// ---- the contestants ------------------------------------------------------------------

enum class Kind {
    Ours,    // a dialog of the helper on the base frame
    Delayed, // the message dialog: shown by its timer, kMessageShowDelayMs late by design
    Floor,
    Peer,
};

// A started contestant: a plain process, or the helper in conversation with
// the random-data parent.
struct Running {
    std::unique_ptr<client::HelperProcess> plain;
    std::unique_ptr<client::RandomSession> random;

    client::HelperProcess& Process() { return plain ? *plain : random->Process(); }
    void Finish()
    {
        if (plain)
            plain->Finish(kWaitLimit);
        else
            random->Finish(kWaitLimit);
    }
};

struct Contestant {
    std::string name;
    Kind kind;
    std::string program; // executable; a missing one leaves the contestant out
    std::function<Running(const client::LaunchOptions&)> start;
};

Running StartPlain(const client::Request& request, const client::LaunchOptions& launch)
{
    Running running;
    running.plain = std::make_unique<client::HelperProcess>(request, launch);
    return running;
}

client::PasswordRequestArgs PinArgs()
{
    client::PasswordRequestArgs args = testkit::KeyContainerArgs("4", "6");
    args.triesLeft = "3";
    args.maxPasswordLength = "16";
    args.maxNewPasswordLength = "16";
    return args;
}

std::vector<Contestant> AllContestants(const std::string& helper)
{
    const auto ours = [&](const std::string& name, Kind kind, std::function<client::Request()> request) {
        return Contestant{name, kind, helper, [request, helper](client::LaunchOptions launch) {
                              launch.helper = helper;
                              return StartPlain(request(), launch);
                          }};
    };
    const auto peer = [](const std::string& name, const std::string& program, std::vector<std::string> arguments,
                         const std::string& input) {
        return Contestant{name, name == "floor" ? Kind::Floor : Kind::Peer, program,
                          [program, arguments, input](client::LaunchOptions launch) {
                              client::Request request = client::RawRequest(arguments);
                              request.input.assign(input);
                              launch.helper = program;
                              return StartPlain(request, launch);
                          }};
    };
    constexpr std::uint32_t box = xvtui::protocol::CBF_VISIBLE | xvtui::protocol::CBF_CHANGEABLE;
    std::vector<Contestant> all = {
        ours("pin", Kind::Ours, [] { return client::PinRequest(PinArgs(), box, box); }),
        ours("new-password", Kind::Ours, [] { return client::NewPasswordRequest(PinArgs()); }),
        ours("change-password", Kind::Ours, [] { return client::ChangePasswordRequest(PinArgs()); }),
        ours("message", Kind::Delayed,
             [] {
                 return client::MessageRequest(client::kMessageOldKeysWarning | client::kMessageOkCancel,
                                               "Old keys were found on this key carrier. Replace them with new keys "
                                               "as soon as possible.");
             }),
        ours("reader", Kind::Ours,
             [] {
                 return client::SelectReaderRequest(
                     "", {{{"1", "2"}, {"Token", "Smart card"}, "Reader 0"}, {{"1"}, {"Token"}, "Reader 1"}});
             }),
        ours("container", Kind::Ours,
             [] {
                 return client::ContainerRequest({{"Keys of the year", client::kUtf8CodePage, "", "keys-2026"},
                                                  {"Old keys", client::kUtf8CodePage, "", "keys-2025"},
                                                  {"Signing key", client::kUtf8CodePage, "", "sign"}});
             }),
        Contestant{"random", Kind::Ours, helper,
                   [helper](client::LaunchOptions launch) {
                       launch.helper = helper;
                       client::StateRecord initial;
                       initial.SetNeeded(200);
                       Running running;
                       running.random = std::make_unique<client::RandomSession>(launch, initial);
                       return running;
                   }},
        peer("floor", XVTUI_BENCH_FLOOR, {}, ""),
        peer("pinentry-gtk-2", "/usr/bin/pinentry-gtk-2", {},
             "SETDESC Enter the PIN of the key container keys on Carrier 17 in Reader 0\nSETPROMPT PIN:\nGETPIN\n"),
        peer("zenity", "/usr/bin/zenity", {"--password", "--title=PIN"}, ""),
        peer("gnome-ssh-askpass", "/usr/lib/openssh/gnome-ssh-askpass", {"Enter the PIN of the key container"}, ""),
        peer("x11-ssh-askpass", "/usr/libexec/ssh-askpass/x11-ssh-askpass", {"Enter the PIN of the key container"},
             ""),
    };
    return all;
}

// ---- one sample ---------------------------------------------------------------------

bool Readable(Display* dpy, Clock::time_point deadline)
{
    if (XPending(dpy) > 0)
        return true;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0)
        return false;
    pollfd fd{ConnectionNumber(dpy), POLLIN, 0};
    return poll(&fd, 1, static_cast<int>(left)) > 0 && XPending(dpy) > 0;
}

// The next top-level window mapped (override-redirect popups aside): the
// contestant's, as only one runs at a time. Works for clients that set no
// _NET_WM_PID (Xt). The caller drops stale events before the spawn.
testkit::XWindow WaitForTopLevel(Display* dpy, Clock::time_point deadline)
{
    while (Readable(dpy, deadline)) {
        XEvent event;
        XNextEvent(dpy, &event);
        if (event.type == MapNotify && event.xmap.event == DefaultRootWindow(dpy) && !event.xmap.override_redirect)
            return event.xmap.window;
    }
    return testkit::kNoWindow;
}

double Ms(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

struct Sample {
    double map = 0;     // spawn -> mapped, ms
    double cpuMap = 0;  // CPU time until mapped, ms
    double idle = 0;    // CPU time while waiting, ms
    double xIdle = 0;   // the X server's CPU time meanwhile, ms
    double peak = 0;    // peak RSS, MiB
};

Sample Measure(const Contestant& contestant, const client::LaunchOptions& baseLaunch, testkit::XClient& x,
               pid_t server, std::chrono::seconds idle, std::chrono::seconds skip)
{
    const auto fail = [&](const std::string& what) { return std::runtime_error(contestant.name + ": " + what); };
    Display* dpy = x.Dpy();
    XSync(dpy, True); // events of earlier samples are stale

    client::LaunchOptions launch = baseLaunch;
    launch.helper = contestant.program;
    const auto spawned = Clock::now();
    Running running = contestant.start(launch);
    client::HelperProcess& process = running.Process();
    const testkit::XWindow window = WaitForTopLevel(dpy, spawned + kWaitLimit);
    const auto mapped = Clock::now();
    const std::optional<double> cpuMap = CpuMs(process.Pid());
    if (window == testkit::kNoWindow || !cpuMap)
        throw fail("no window appeared");

    Sample sample;
    sample.map = Ms(mapped - spawned);
    sample.cpuMap = *cpuMap;
    // As a window manager would: the new window gets the focus. Then it is left
    // to draw everything and settle.
    x.Focus(window);
    if (!x.WaitForPaint(window, kWaitLimit, kPaintQuiet))
        throw fail("the window was not drawn");
    if (skip.count() > 0 && process.WaitForExit(skip)) // the first seconds of waiting left out
        throw fail("it ended while waiting");

    const std::optional<double> before = CpuMs(process.Pid()), xBefore = CpuMs(server);
    if (process.WaitForExit(idle))
        throw fail("it ended while waiting");
    const std::optional<double> after = CpuMs(process.Pid()), xAfter = CpuMs(server);
    if (!before || !after || !xBefore || !xAfter)
        throw fail("no CPU time while waiting");
    sample.idle = *after - *before;
    sample.xIdle = *xAfter - *xBefore;

    process.Signal(SIGTERM);
    if (!process.WaitForExit(5s)) {
        process.Signal(SIGKILL);
        if (!process.WaitForExit(kWaitLimit))
            throw fail("it did not end");
    }
    const std::optional<EndedChild> ended = ReadEndedChild(process.Pid());
    if (!ended)
        throw fail("no resource usage of the ended process");
    sample.peak = static_cast<double>(ended->peakRssKib) / 1024.0;
    running.Finish();
    return sample;
}

// ---- the report -----------------------------------------------------------------------

struct Figures {
    std::vector<double> map, cpuMap, idle, xIdle, peak;

    void Add(const Sample& s)
    {
        map.push_back(s.map);
        cpuMap.push_back(s.cpuMap);
        idle.push_back(s.idle);
        xIdle.push_back(s.xIdle);
        peak.push_back(s.peak);
    }
};

double Median(const std::vector<double>& values)
{
    return Summarize(values).median;
}

// "median (min-max)".
std::string Spread(const std::vector<double>& values, int decimals)
{
    if (values.empty())
        return "-";
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    char text[96];
    std::snprintf(text, sizeof text, "%.*f (%.*f-%.*f)", decimals, Median(values), decimals, *low, decimals, *high);
    return text;
}

std::string Ratio(double value, const Figures* reference, std::vector<double> Figures::*field)
{
    if (reference == nullptr)
        return "-";
    const double base = Median(reference->*field);
    if (base <= 0)
        return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value / base);
    return text;
}

std::vector<double> Shifted(const std::vector<double>& values, double by)
{
    std::vector<double> shifted;
    for (double value : values)
        shifted.push_back(value - by);
    return shifted;
}

void PrintReport(const std::vector<Contestant>& contestants, const std::map<std::string, Figures>& results,
                 int rounds, std::chrono::seconds idle, std::chrono::seconds skip)
{
    const auto find = [&](const std::string& name) -> const Figures* {
        const auto found = results.find(name);
        return found == results.end() ? nullptr : &found->second;
    };
    const Figures* floor = find("floor");
    const Figures* pinentry = find("pinentry-gtk-2");
    std::printf("\nmedian (min-max) of %d rounds; ratios are of medians: to the floor / to pinentry-gtk-2\n\n",
                rounds);
    const std::string after =
        skip.count() > 0 ? " from " + std::to_string(static_cast<long long>(skip.count())) + " s on" : "";
    std::printf("| dialog | spawn -> mapped, ms | x floor | x pinentry | CPU to map, ms | x floor | CPU while "
                "waiting %lld s%s, ms | X server CPU meanwhile, ms | peak RSS, MiB | x floor |\n",
                static_cast<long long>(idle.count()), after.c_str());
    std::printf("|---|---|---|---|---|---|---|---|---|---|\n");
    for (const Contestant& contestant : contestants) {
        const Figures* figures = find(contestant.name);
        if (figures == nullptr)
            continue;
        std::vector<std::pair<std::string, std::vector<double>>> rows = {{contestant.name, figures->map}};
        if (contestant.kind == Kind::Delayed)
            rows.push_back({contestant.name + " without its " + std::to_string(int(kMessageShowDelayMs)) +
                                " ms delay",
                            Shifted(figures->map, kMessageShowDelayMs)});
        for (const auto& [label, map] : rows) {
            const bool first = label == contestant.name;
            std::printf("| %s | %s | %s | %s | %s | %s | %s | %s | %s | %s |\n", label.c_str(),
                        Spread(map, 1).c_str(), Ratio(Median(map), floor, &Figures::map).c_str(),
                        Ratio(Median(map), pinentry, &Figures::map).c_str(),
                        first ? Spread(figures->cpuMap, 1).c_str() : "",
                        first ? Ratio(Median(figures->cpuMap), floor, &Figures::cpuMap).c_str() : "",
                        first ? Spread(figures->idle, 2).c_str() : "", first ? Spread(figures->xIdle, 2).c_str() : "",
                        first ? Spread(figures->peak, 1).c_str() : "",
                        first ? Ratio(Median(figures->peak), floor, &Figures::peak).c_str() : "");
        }
    }
    std::fflush(stdout);
}

// The goals: every dialog on the base frame maps in at most 0.85 of the
// floor's and of pinentry-gtk-2's time, peaks at most 0.95 of the floor's
// memory, and waits at no more CPU cost than the floor, in itself and in the
// X server. Returns whether all are met.
bool PrintGoals(const std::vector<Contestant>& contestants, const std::map<std::string, Figures>& results)
{
    if (results.count("floor") == 0)
        return true;
    const Figures& floor = results.at("floor");
    const Figures* pinentry = results.count("pinentry-gtk-2") != 0 ? &results.at("pinentry-gtk-2") : nullptr;
    bool allMet = true;
    std::printf("\ngoals (medians)\n");
    const auto check = [&](const std::string& what, double value, double limit) {
        const bool met = value <= limit;
        allMet = allMet && met;
        std::printf("  %-52s %9.2f <= %9.2f  %s\n", what.c_str(), value, limit, met ? "met" : "MISSED");
    };
    for (const Contestant& contestant : contestants) {
        if ((contestant.kind != Kind::Ours && contestant.kind != Kind::Delayed) || results.count(contestant.name) == 0)
            continue;
        const Figures& f = results.at(contestant.name);
        const double delay = contestant.kind == Kind::Delayed ? kMessageShowDelayMs : 0;
        const std::string name = contestant.name + (delay > 0 ? " (without its delay)" : "");
        check(name + ": mapped, ms, <= 0.85 floor", Median(f.map) - delay, 0.85 * Median(floor.map));
        if (pinentry != nullptr)
            check(name + ": mapped, ms, <= 0.85 pinentry-gtk-2", Median(f.map) - delay, 0.85 * Median(pinentry->map));
        check(contestant.name + ": peak RSS, MiB, <= 0.95 floor", Median(f.peak), 0.95 * Median(floor.peak));
        check(contestant.name + ": CPU while waiting, ms, <= floor", Median(f.idle), Median(floor.idle));
        check(contestant.name + ": X server CPU meanwhile, ms, <= floor", Median(f.xIdle), Median(floor.xIdle));
    }
    std::fflush(stdout);
    return allMet;
}

std::string Load()
{
    std::ifstream in("/proc/loadavg");
    std::string line;
    std::getline(in, line);
    return line;
}

} // namespace

int RunPeers(int argc, char** argv)
{
    int rounds = 9;
    std::chrono::seconds idle = 10s, skip = 0s;
    std::set<std::string> only;
    bool check = false;
    std::string baseline;
    bool help = false;
    ForEachOption(argc, argv, [&](const std::string& option, const std::function<std::string()>& value) {
        if (option == "--runs") {
            rounds = ParseCount(option, value(), 1);
        } else if (option == "--idle") {
            idle = std::chrono::seconds(ParseCount(option, value(), 1));
        } else if (option == "--skip") {
            skip = std::chrono::seconds(ParseCount(option, value(), 0));
        } else if (option == "--only") {
            std::istringstream list(value());
            for (std::string name; std::getline(list, name, ',');)
                only.insert(name);
        } else if (option == "--baseline") {
            baseline = value();
        } else if (option == "--check") {
            check = true;
        } else if (option == "--help" || option == "-h") {
            help = true;
        } else {
            throw std::invalid_argument("unknown option " + option);
        }
    });
    if (help) {
        std::printf("%s", kUsage);
        return 0;
    }

    testkit::XClient x;
    const std::string display = testkit::PrivateDisplay();
    const pid_t server = ChildXServer();
    testkit::Sandbox sandbox;
    // The same environment for every contestant: GDK's client-side windows as
    // a desktop runs them, no accessibility bus, warnings not fatal (the
    // peers are not ours to judge by them).
    sandbox.UnsetEnv("GDK_NATIVE_WINDOWS");
    sandbox.UnsetEnv("G_DEBUG");
    sandbox.SetEnv("NO_AT_BRIDGE", "1");
    client::LaunchOptions launch;
    launch.environment = sandbox.Environment();

    std::vector<Contestant> all = AllContestants(XVTUI_BINARY);
    if (!baseline.empty()) {
        // Our dialogs once more from another build, beside these in every round.
        for (Contestant& contestant : AllContestants(baseline)) {
            if (contestant.kind == Kind::Ours || contestant.kind == Kind::Delayed)
                all.push_back(Contestant{contestant.name + "@baseline", Kind::Peer, contestant.program,
                                         std::move(contestant.start)});
        }
    }
    std::vector<Contestant> contestants;
    std::vector<std::string> missing;
    for (Contestant& contestant : all) {
        if (!only.empty() && only.count(contestant.name.substr(0, contestant.name.find('@'))) == 0)
            continue;
        if (access(contestant.program.c_str(), X_OK) != 0)
            missing.push_back(contestant.name + " (" + contestant.program + ")");
        else
            contestants.push_back(std::move(contestant));
    }

    utsname name{};
    uname(&name);
    std::printf("xvtui_bench peers: %d rounds after 1 warm-up round, %lld s waiting, X server %s (pid %d)\n", rounds,
                static_cast<long long>(idle.count()), display.c_str(), static_cast<int>(server));
    std::printf("  machine  %ld CPU(s), %s %s\n", sysconf(_SC_NPROCESSORS_ONLN), name.sysname, name.release);
    std::printf("  load     %s at start\n", Load().c_str());
    for (const std::string& left : missing)
        std::printf("  not installed, left out: %s\n", left.c_str());
    std::fflush(stdout);

    std::map<std::string, Figures> results;
    for (int round = 0; round <= rounds; ++round) {
        // Each round starts one contestant further on, so that none is always
        // the one that follows the previous round's last (whose teardown the
        // X server may still be busy with).
        for (std::size_t i = 0; i < contestants.size(); ++i) {
            const Contestant& contestant = contestants[(i + static_cast<std::size_t>(round)) % contestants.size()];
            const Sample sample = Measure(contestant, launch, x, server, idle, skip);
            if (round > 0) // round 0 warms the page cache up
                results[contestant.name].Add(sample);
        }
        std::fprintf(stderr, "round %d of %d done, load %s\n", round, rounds, Load().c_str());
    }
    std::printf("  load     %s at end\n", Load().c_str());
    PrintReport(contestants, results, rounds, idle, skip);
    const bool allMet = PrintGoals(contestants, results);
    PrintWarningsCost(4096, 1000);
    return check && !allMet ? 1 : 0;
}

} // namespace bench
