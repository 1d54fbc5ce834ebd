// xvtui_bench: how quickly the helper's dialogs appear and go, and what they cost.
//
// Every sample is a fresh helper process on a private Xvfb, started and
// answered as the provider and a user would: the client library starts it
// with pipes, the test kit's X client waits for its window (MapNotify of a
// top-level with its _NET_WM_PID) and presses the answering key through
// XTest. Nothing sleeps for a fixed time: every wait is on an X event or on
// the process. See README.md in this folder for the figures and goals.
#include "bench/Options.h"
#include "bench/Peers.h"
#include "bench/ProcessFigures.h"
#include "bench/Probes.h"
#include "bench/Stats.h"

#include "client/HelperProcess.h"
#include "client/PasswordRequest.h"
#include "client/Request.h"
#include "common/PasswordRequests.h"
#include "common/Sandbox.h"
#include "common/XClient.h"
#include "common/Xvfb.h"

#include <gtk/gtk.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/utsname.h>
#include <unistd.h>
#include <vector>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
namespace client = xvtui::client;

// Generous limits: a sample that needs them is a failure, not a figure.
constexpr testkit::Millis kWaitLimit = 20s;
// A window counts as drawn and idle once its damage has been quiet this long.
constexpr testkit::Millis kPaintQuiet = 100ms;

constexpr const char* kUsage =
    "usage: xvtui_bench [--runs N] [--warmup N] [--only LIST] [--key Return|Escape]\n"
    "                   [--locale NAME] [--display NAME] [--helper PATH] [--check]\n"
    "       xvtui_bench peers --help   (every dialog beside the floor and the peers)\n"
    "\n"
    "Starts the helper N times per scenario (default 30, after 1 unmeasured warm-up run)\n"
    "on a private Xvfb and reports median, 90th percentile and maximum of:\n"
    "  spawn -> window mapped, key -> exit, peak RSS, private dirty memory and PSS while\n"
    "  shown, CPU time.\n"
    "Scenarios (--only, comma-separated; default all): start, message, pin, gtk, l10n.\n"
    "  start    the helper without a keyword (prints its usage line): process start-up\n"
    "  message  \"VTDisplayMessage\" 130 with a text (OK and the check box)\n"
    "  pin      \"VTQueryPinEx\" with 20 arguments and control words 3 and 3; a 4-digit PIN is\n"
    "           typed before the key\n"
    "  gtk      a bare GTK message dialog without the helper's code, with its start-up phases\n"
    "  l10n     locale recognition, first CP1251 text, catalogue lookups and settings, cold,\n"
    "           in ru_RU.UTF-8 and C\n"
    "--key      the answering key (default Return: OK; Escape cancels). The PIN window is a\n"
    "           plain window that gives Escape no meaning, so it is always answered with Return\n"
    "--locale   LANG and LC_ALL of the helper (default C)\n"
    "--display  use this X server instead of a private Xvfb\n"
    "--helper   the helper to measure (default: the one built with this benchmark)\n"
    "--check    exit with 1 when a goal is missed\n";

struct Options {
    int runs = 30;
    int warmup = 1;
    std::set<std::string> only;
    std::string key = "Return";
    std::string locale = "C";
    std::string display;
    std::string helper = XVTUI_BINARY;
    bool check = false;

    bool Wants(const std::string& scenario) const { return only.empty() || only.count(scenario) != 0; }
};

Options ParseOptions(int argc, char** argv)
{
    static const std::set<std::string> scenarios = {"start", "message", "pin", "gtk", "l10n"};
    Options options;
    ForEachOption(argc, argv, [&](const std::string& option, const std::function<std::string()>& value) {
        if (option == "--runs") {
            options.runs = ParseCount(option, value(), 1);
        } else if (option == "--warmup") {
            options.warmup = ParseCount(option, value(), 0);
        } else if (option == "--only") {
            std::istringstream list(value());
            std::string name;
            while (std::getline(list, name, ',')) {
                if (scenarios.count(name) == 0)
                    throw std::invalid_argument("unknown scenario " + name);
                options.only.insert(name);
            }
        } else if (option == "--key") {
            options.key = value();
            if (options.key != "Return" && options.key != "Escape")
                throw std::invalid_argument("--key is Return or Escape");
        } else if (option == "--locale") {
            options.locale = value();
        } else if (option == "--display") {
            options.display = value();
        } else if (option == "--helper") {
            options.helper = value();
        } else if (option == "--check") {
            options.check = true;
        } else if (option == "--help" || option == "-h") {
            std::cout << kUsage;
            std::exit(0);
        } else {
            throw std::invalid_argument("unknown option " + option);
        }
    });
    return options;
}

double Ms(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

double MiB(long kib)
{
    return static_cast<double>(kib) / 1024.0;
}

// ---- what one scenario measures ----------------------------------------------

// The samples of one scenario, by figure name.
class Series {
public:
    void Add(const std::string& name, double value) { m_values[name].push_back(value); }
    Summary Of(const std::string& name) const
    {
        const auto found = m_values.find(name);
        return found == m_values.end() ? Summary{} : Summarize(found->second);
    }

private:
    std::map<std::string, std::vector<double>> m_values;
};

struct Figure {
    std::string name;  // key in the series
    std::string label; // as printed
    std::string unit;
};

void PrintTable(const std::string& title, const Series& series, const std::vector<Figure>& figures)
{
    std::printf("\n%s\n", title.c_str());
    std::printf("  %-40s %9s %9s %9s\n", "", "median", "p90", "max");
    for (const Figure& figure : figures) {
        const Summary s = series.Of(figure.name);
        if (s.count == 0)
            continue;
        std::printf("  %-40s %9.1f %9.1f %9.1f  %s\n", figure.label.c_str(), s.median, s.p90, s.max,
                    figure.unit.c_str());
    }
    std::fflush(stdout);
}

// ---- requests -------------------------------------------------------------------

constexpr const char* kMessageText =
    "Old keys were found on this key carrier. Replace them with new keys as soon as possible.";
constexpr const char* kPin = "1234";

client::Request MessageRequest()
{
    // 130 = 0x80 (the "don't show again" box) + 0x02 (OK and Cancel).
    return client::MessageRequest(client::kMessageOldKeysWarning | client::kMessageOkCancel, kMessageText);
}

// A PIN for a container, as the provider asks for it after one wrong try.
client::Request PinRequest()
{
    client::PasswordRequestArgs args = testkit::KeyContainerArgs("4", "4");
    args.triesLeft = "3";
    args.maxPasswordLength = "16";
    args.maxNewPasswordLength = "16";
    // Both boxes shown and changeable, unticked.
    constexpr std::uint32_t box = xvtui::protocol::CBF_VISIBLE | xvtui::protocol::CBF_CHANGEABLE;
    return client::PinRequest(args, box, box);
}

// ---- one sample ------------------------------------------------------------------

struct DialogScenario {
    std::string name;
    std::string title;           // heading of its table
    std::function<client::Request()> request;
    std::string helper;          // executable to start
    std::vector<std::string> focusKeys; // pressed before the measured key, to reach OK
    std::string typed;           // typed into the dialog before the key
    std::string expectedAnswer;  // exact output after Return; empty: not checked
    bool reference = false;      // the benchmark's own reference dialog
    bool escapeCancels = true;   // Escape ends it (a GTK dialog); else only Return answers
};

// The key that answers `scenario`.
std::string AnswerKey(const DialogScenario& scenario, const Options& options)
{
    return scenario.escapeCancels ? options.key : "Return";
}

std::runtime_error SampleError(const DialogScenario& scenario, const std::string& what)
{
    return std::runtime_error(scenario.name + ": " + what);
}

// Starts the dialog, waits for its window, measures it while shown, answers
// it and waits for the process to end; adds one value per figure.
void MeasureDialog(const DialogScenario& scenario, const Options& options,
                   const std::vector<std::string>& environment, testkit::XClient& x, Series& series)
{
    client::LaunchOptions launch;
    launch.helper = scenario.helper;
    launch.environment = environment;
    const client::Request request = scenario.request();

    const auto spawned = Clock::now();
    client::HelperProcess process(request, launch);
    const testkit::XWindow window = x.WaitForWindow(process.Pid(), kWaitLimit);
    const auto mapped = Clock::now();
    if (window == testkit::kNoWindow)
        throw SampleError(scenario, "no window appeared");
    if (!x.WaitForPaint(window, kWaitLimit, kPaintQuiet))
        throw SampleError(scenario, "the window was not drawn");
    const std::optional<MemoryNow> memory = ReadMemoryNow(process.Pid());
    if (!memory)
        throw SampleError(scenario, "cannot read the memory of the shown dialog");

    x.Focus(window);
    if (!scenario.typed.empty() || !scenario.focusKeys.empty()) {
        for (const std::string& key : scenario.focusKeys)
            x.PressKey(key);
        if (!scenario.typed.empty())
            x.TypeText(scenario.typed);
        if (!x.WaitForPaint(window, kWaitLimit, kPaintQuiet))
            throw SampleError(scenario, "the window was not drawn after the input");
    }
    const std::string key = AnswerKey(scenario, options);
    const auto keyed = Clock::now();
    x.PressKey(key);
    if (!process.WaitForExit(kWaitLimit))
        throw SampleError(scenario, "the process did not end after " + key);
    const auto exited = Clock::now();
    const std::optional<EndedChild> ended = ReadEndedChild(process.Pid());
    const client::RunResult run = process.Finish(kWaitLimit);
    if (!ended)
        throw SampleError(scenario, "no resource usage of the ended process");

    const std::string_view output = run.output.view();
    if (scenario.reference) {
        if (!run.exited || run.exitStatus != 0)
            throw SampleError(scenario, "the reference dialog failed");
    } else if (key == "Return") {
        if (!run.exited || run.exitStatus != 0 ||
            (!scenario.expectedAnswer.empty() && output != scenario.expectedAnswer))
            throw SampleError(scenario, "unexpected answer to Return (exit status " +
                                            std::to_string(run.exitStatus) + ")");
    } else if (output != xvtui::protocol::RetText(ResultCode::Cancelled)) {
        throw SampleError(scenario, "unexpected answer to Escape");
    }

    series.Add("map", Ms(mapped - spawned));
    series.Add("exit", Ms(exited - keyed));
    series.Add("peak", MiB(ended->peakRssKib));
    series.Add("dirty", MiB(memory->privateDirty));
    series.Add("pss", MiB(memory->pss));
    series.Add("rss", MiB(memory->rss));
    series.Add("cpu", ended->cpuMs);

    if (scenario.reference) {
        // Phases of the reference dialog, each from the end of the one before.
        const auto points = ParseProbeOutput(output);
        const double spawnNs = static_cast<double>(
            std::chrono::duration_cast<std::chrono::nanoseconds>(spawned.time_since_epoch()).count());
        double previous = spawnNs;
        for (const char* phase : {"main", "gtk_init", "first_layout", "built", "shown", "mapped", "exposed"}) {
            const auto found = points.find(phase);
            if (found == points.end() || found->second <= 0)
                throw SampleError(scenario, std::string("the reference dialog did not report ") + phase);
            series.Add(std::string("phase_") + phase, (found->second - previous) / 1e6);
            previous = found->second;
        }
    }
}

// The helper without a keyword: process start-up and its usage line.
void MeasureStart(const Options& options, const std::vector<std::string>& environment, Series& series)
{
    client::LaunchOptions launch;
    launch.helper = options.helper;
    launch.environment = environment;
    const auto spawned = Clock::now();
    client::HelperProcess process(client::RawRequest({}), launch);
    if (!process.WaitForExit(kWaitLimit))
        throw std::runtime_error("start: the helper did not end");
    const auto exited = Clock::now();
    const std::optional<EndedChild> ended = ReadEndedChild(process.Pid());
    const client::RunResult run = process.Finish(kWaitLimit);
    if (!ended || !run.exited || run.exitStatus != 1 || run.output.view() != client::kUsageText)
        throw std::runtime_error("start: the helper did not print its usage line");
    series.Add("exit", Ms(exited - spawned));
    series.Add("peak", MiB(ended->peakRssKib));
    series.Add("cpu", ended->cpuMs);
}

// One cold localisation probe in a fresh process.
void MeasureL10n(const std::vector<std::string>& environment, Series& series)
{
    client::LaunchOptions launch;
    launch.helper = client::SelfExecutable();
    launch.environment = environment;
    const client::RunResult run =
        client::Run(client::RawRequest({"--probe", std::string(kProbeL10n)}), launch, kWaitLimit);
    if (!run.exited || run.exitStatus != 0)
        throw std::runtime_error("l10n: the probe failed");
    const auto figures = ParseProbeOutput(run.output.view());
    for (const char* name : {"locale", "first_term", "first_lookup", "second_lookup", "settings"}) {
        const auto found = figures.find(name);
        if (found == figures.end())
            throw std::runtime_error(std::string("l10n: the probe did not report ") + name);
        series.Add(name, found->second / 1000.0);
    }
    if (figures.count("catalogue_found") == 0 || figures.at("catalogue_found") != 1)
        throw std::runtime_error("l10n: the probe did not find the message catalogue");
    series.Add("russian", figures.count("russian") != 0 ? figures.at("russian") : 0);
}

// ---- goals -----------------------------------------------------------------------

enum class Statistic { Median, P90, Max };

// A limit on one statistic of one figure of one scenario. The limits leave
// room for a busy machine: see README.md for the figures they were set from.
struct Goal {
    const char* scenario;
    const char* figure;
    Statistic statistic;
    double limit;
    const char* unit;
    const char* what;
};

constexpr Goal kGoals[] = {
    {"start", "exit", Statistic::Median, 15, "ms", "start: spawn -> end (usage line)"},
    {"message", "map", Statistic::Median, 100, "ms", "message: spawn -> mapped (50 ms of it by design)"},
    {"message", "map", Statistic::P90, 150, "ms", "message: spawn -> mapped"},
    {"pin", "map", Statistic::Median, 50, "ms", "pin: spawn -> mapped"},
    {"pin", "map", Statistic::P90, 100, "ms", "pin: spawn -> mapped"},
    {"message", "exit", Statistic::P90, 20, "ms", "message: key -> exit"},
    {"pin", "exit", Statistic::P90, 20, "ms", "pin: key -> exit"},
    {"message", "peak", Statistic::Max, 24, "MiB", "message: peak RSS"},
    {"pin", "peak", Statistic::Max, 24, "MiB", "pin: peak RSS"},
    {"message", "dirty", Statistic::Median, 4, "MiB", "message: private dirty while shown"},
    {"pin", "dirty", Statistic::Median, 4, "MiB", "pin: private dirty while shown"},
    {"l10n ru_RU.UTF-8", "first_term", Statistic::Median, 1000, "us", "l10n ru: first fixed text"},
    {"l10n ru_RU.UTF-8", "first_lookup", Statistic::Median, 1000, "us", "l10n ru: first catalogue text"},
};

// The message dialog is the bare GTK dialog plus the helper's own code (frame,
// settings, locale, catalogue, log) and a deliberate 50 ms delay before it is
// shown; its median spawn -> mapped time may exceed the bare dialog's by this
// much once the delay is taken off.
constexpr double kMessageShowDelayMs = 50;
constexpr double kOwnCodeLimitMs = 10;

double Pick(const Summary& summary, Statistic statistic)
{
    switch (statistic) {
    case Statistic::Median:
        return summary.median;
    case Statistic::P90:
        return summary.p90;
    case Statistic::Max:
        return summary.max;
    }
    return summary.max;
}

const char* StatisticName(Statistic statistic)
{
    return statistic == Statistic::Median ? "median" : statistic == Statistic::P90 ? "p90" : "max";
}

// Prints every goal whose scenario ran; returns whether all of them are met.
bool PrintGoals(const std::map<std::string, Series>& results)
{
    std::printf("\ngoals\n");
    bool allMet = true;
    const auto report = [&](const std::string& what, double value, double limit, const char* unit) {
        const bool met = value < limit;
        allMet = allMet && met;
        std::printf("  %-56s %8.1f < %6.0f %-3s %s\n", what.c_str(), value, limit, unit, met ? "met" : "MISSED");
    };
    for (const Goal& goal : kGoals) {
        const auto found = results.find(goal.scenario);
        if (found == results.end())
            continue;
        report(std::string(goal.what) + ", " + StatisticName(goal.statistic),
               Pick(found->second.Of(goal.figure), goal.statistic), goal.limit, goal.unit);
    }
    if (results.count("message") != 0 && results.count("gtk") != 0) {
        const double own =
            results.at("message").Of("map").median - kMessageShowDelayMs - results.at("gtk").Of("map").median;
        report("message - 50 ms - bare GTK dialog: spawn -> mapped, median", own, kOwnCodeLimitMs, "ms");
    }
    std::fflush(stdout);
    return allMet;
}

// ---- the machine ---------------------------------------------------------------------

std::string FirstLine(const std::string& path, const std::string& prefix = {})
{
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (prefix.empty() || line.rfind(prefix, 0) == 0) {
            const std::size_t colon = prefix.empty() ? std::string::npos : line.find(':');
            return colon == std::string::npos ? line : line.substr(line.find_first_not_of(" \t", colon + 1));
        }
    }
    return "?";
}

void PrintMachine(const Options& options, const std::string& display)
{
    utsname name{};
    uname(&name);
    std::printf("xvtui_bench: %d runs per scenario after %d warm-up run(s), key %s, helper locale %s\n",
                options.runs, options.warmup, options.key.c_str(), options.locale.c_str());
    std::printf("  helper   %s\n", options.helper.c_str());
    std::printf("  machine  %ld CPU(s), %s, %s %s\n", sysconf(_SC_NPROCESSORS_ONLN),
                FirstLine("/proc/cpuinfo", "model name").c_str(), name.sysname, name.release);
    std::printf("  X server %s (%s)\n", display.c_str(), options.display.empty() ? "private Xvfb" : "given");
    std::printf("  GTK      %u.%u.%u\n", gtk_major_version, gtk_minor_version, gtk_micro_version);
    std::printf("  load     %s (1, 5, 15 min) at start\n", FirstLine("/proc/loadavg").c_str());
    std::fflush(stdout);
}

int Main(int argc, char** argv)
{
    if (argc == 3 && std::string_view(argv[1]) == "--probe") {
        const std::optional<int> status = RunProbe(argv[2]);
        if (!status)
            std::fprintf(stderr, "xvtui_bench: no probe %s\n", argv[2]);
        return status.value_or(2);
    }
    if (argc >= 2 && std::string_view(argv[1]) == "peers")
        return RunPeers(argc - 1, argv + 1);
    const Options options = ParseOptions(argc, argv);
    if (!options.display.empty())
        setenv("DISPLAY", options.display.c_str(), 1);

    // The X client starts the private server, and DISPLAY with it, before the
    // sandbox copies DISPLAY into the helper's environment.
    testkit::XClient x(options.display);
    const std::string display = options.display.empty() ? testkit::PrivateDisplay() : options.display;
    testkit::Sandbox sandbox;
    // As the provider runs it: GDK's client-side windows, not one X window per widget.
    sandbox.UnsetEnv("GDK_NATIVE_WINDOWS");
    sandbox.SetEnv("LANG", options.locale);
    sandbox.SetEnv("LC_ALL", options.locale);
    const std::vector<std::string> environment = sandbox.Environment();

    PrintMachine(options, display);

    const std::vector<Figure> dialogFigures = {
        {"map", "spawn -> window mapped", "ms"},
        {"exit", "key -> process ended", "ms"},
        {"cpu", "CPU time, user + system", "ms"},
        {"peak", "peak RSS (ru_maxrss)", "MiB"},
        {"rss", "RSS while shown", "MiB"},
        {"pss", "PSS while shown", "MiB"},
        {"dirty", "private dirty while shown", "MiB"},
    };
    const std::string answerYes = std::string(client::kDontShowWarningKey) + "true";

    // Every scenario that was asked for, run round-robin (one sample of each
    // in turn) so that a change of the machine's load meets all of them alike
    // and their figures stay comparable.
    struct Task {
        std::string name;
        std::function<void(Series&)> sample;
        std::function<void(const Series& series, const Series& warmup)> print;
    };
    std::vector<Task> tasks;

    if (options.Wants("start")) {
        tasks.push_back({"start", [&](Series& s) { MeasureStart(options, environment, s); },
                         [](const Series& series, const Series&) {
                             PrintTable("start: the helper without a keyword (exec, libraries, usage line)", series,
                                        {{"exit", "spawn -> process ended", "ms"},
                                         {"cpu", "CPU time, user + system", "ms"},
                                         {"peak", "peak RSS (ru_maxrss)", "MiB"}});
                         }});
    }

    std::vector<DialogScenario> dialogs;
    if (options.Wants("message"))
        // The check box has the focus at first; Tab, Tab reaches OK past Cancel.
        dialogs.push_back({"message", "message: \"VTDisplayMessage\" 130", MessageRequest, options.helper,
                           {"Tab", "Tab"}, "", answerYes, false, true});
    if (options.Wants("pin"))
        dialogs.push_back({"pin", "pin: \"VTQueryPinEx\", one entry, control words 3 3, PIN typed", PinRequest,
                           options.helper, {}, kPin, testkit::PinAnswer(false, false, kPin), false, false});
    if (options.Wants("gtk"))
        // Its focus starts on the check box too; one Tab reaches OK.
        dialogs.push_back({"gtk", "gtk: bare GTK message dialog (reference, none of the helper's code)",
                           [] { return client::RawRequest({"--probe", std::string(kProbeGtkDialog)}); },
                           client::SelfExecutable(), {"Tab"}, "", "", true, true});

    for (const DialogScenario& scenario : dialogs) {
        tasks.push_back({scenario.name, [&](Series& s) { MeasureDialog(scenario, options, environment, x, s); },
                         [&](const Series& series, const Series& warmup) {
                             PrintTable(scenario.title + ", answered with " + AnswerKey(scenario, options), series,
                                        dialogFigures);
                             if (options.warmup > 0)
                                 std::printf("  %-40s %9.1f ms\n", "warm-up run(s), max: spawn -> mapped",
                                             warmup.Of("map").max);
                             if (!scenario.reference)
                                 return;
                             PrintTable(
                                 "gtk: where the reference dialog's time goes (each phase from the end of the last)",
                                 series,
                                 {{"phase_main", "exec, libraries, static init -> main", "ms"},
                                  {"phase_gtk_init", "gtk_init_check (X connection, theme)", "ms"},
                                  {"phase_first_layout", "first text layout (Pango, fontconfig)", "ms"},
                                  {"phase_built", "build the message dialog", "ms"},
                                  {"phase_shown", "gtk_widget_show_all (size, realize)", "ms"},
                                  {"phase_mapped", "main loop until map-event", "ms"},
                                  {"phase_exposed", "first expose drawn", "ms"}});
                         }});
    }

    // The sandboxes of the localisation probes live until the end of the runs.
    std::vector<std::unique_ptr<testkit::Sandbox>> probeBoxes;
    if (options.Wants("l10n")) {
        for (const std::string locale : {"ru_RU.UTF-8", "C"}) {
            auto& box = probeBoxes.emplace_back(std::make_unique<testkit::Sandbox>());
            box->SetEnv("LANG", locale);
            box->SetEnv("LC_ALL", locale);
            tasks.push_back({"l10n " + locale,
                             [probeEnvironment = box->Environment()](Series& s) { MeasureL10n(probeEnvironment, s); },
                             [locale](const Series& series, const Series&) {
                                 if (locale != "C" && series.Of("russian").median != 1)
                                     std::printf("\n(the locale %s is not installed: its texts stay English)\n",
                                                 locale.c_str());
                                 PrintTable("l10n, cold in a fresh process, LANG=" + locale, series,
                                            {{"locale", "locale recognition (setlocale)", "us"},
                                             {"first_term", "first fixed text (CP1251 -> UTF-8)", "us"},
                                             {"first_lookup", "first catalogue text (catopen + read)", "us"},
                                             {"second_lookup", "second catalogue text", "us"},
                                             {"settings", "three time-out settings", "us"}});
                             }});
        }
    }

    std::map<std::string, Series> results;
    std::map<std::string, Series> warmups;
    for (int i = 0; i < options.warmup; ++i) {
        for (const Task& task : tasks)
            task.sample(warmups[task.name]);
    }
    for (int i = 0; i < options.runs; ++i) {
        for (const Task& task : tasks)
            task.sample(results[task.name]);
    }
    for (const Task& task : tasks)
        task.print(results[task.name], warmups[task.name]);

    std::printf("\n  load     %s (1, 5, 15 min) at end\n", FirstLine("/proc/loadavg").c_str());
    const bool allMet = PrintGoals(results);
    return options.check && !allMet ? 1 : 0;
}

} // namespace
} // namespace bench

int main(int argc, char** argv)
{
    try {
        return bench::Main(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "xvtui_bench: %s\n", error.what());
        return 2;
    }
}
