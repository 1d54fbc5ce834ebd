// xvtui_bench_container: how the container dialog scales with the number of
// containers the provider sends.
//
// For each list size N, RUNS fresh helpers ("VTSelectContainer") get a count
// and N records on a pipe, written by a thread of this process as fast as
// the helper reads them. Each sample measures, from just before fork:
//   mapped   the MapNotify of the helper's window;
//   answered End (the cursor to the last row) and Return pressed at once
//            after the map, until the helper has exited with the last
//            record as its answer: the dialog is usable;
// and from the ended helper's rusage its CPU time and peak resident set.
// The size 0 gives the toolkit's baseline. See README.md here.
#include "common/Sandbox.h"
#include "common/XClient.h"
#include "common/Xvfb.h"
#include "bench/Stats.h"
#include "protocol/SelectItem.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
using xvtui::protocol::VTUISelectItem_;

double Ms(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

// The count and N records with names of the usual lengths: a CP1251 friendly
// name, a GUID-like unique name and a reader path as the primary name.
std::string Input(std::uint32_t n)
{
    std::string input(reinterpret_cast<const char*>(&n), sizeof n);
    input.reserve(sizeof n + static_cast<size_t>(n) * sizeof(VTUISelectItem_));
    for (std::uint32_t i = 0; i < n; ++i) {
        VTUISelectItem_ item{};
        // "Контейнер" in CP1251.
        std::snprintf(item.friendly_name, sizeof item.friendly_name, "\xca\xee\xed\xf2\xe5\xe9\xed\xe5\xf0 %06u", i);
        std::snprintf(item.unique_name, sizeof item.unique_name, "5f1c%04x-9a3e-4b7d-8c21-%012u", i & 0xffff, i);
        std::snprintf(item.primary_name, sizeof item.primary_name, "\\\\.\\HDIMAGE\\container-%06u", i);
        input.append(reinterpret_cast<const char*>(&item), sizeof item);
    }
    return input;
}

struct Sample {
    double mappedMs = 0;
    double answeredMs = 0;
    double cpuMs = 0;
    double peakMib = 0;
};

Sample Run(const std::string& helper, const std::string& input, std::uint32_t n, testkit::XClient& x,
           const testkit::Sandbox& sandbox)
{
    std::vector<std::string> env = sandbox.Environment();
    std::vector<char*> envp;
    for (std::string& entry : env)
        envp.push_back(entry.data());
    envp.push_back(nullptr);
    int in[2], out[2];
    if (pipe(in) != 0 || pipe(out) != 0)
        throw std::runtime_error("pipe");
    const Clock::time_point start = Clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(in[0], 0);
        dup2(out[1], 1);
        for (int fd : {in[0], in[1], out[0], out[1]})
            close(fd);
        const char* argv[] = {helper.c_str(), "VTSelectContainer", nullptr};
        execve(helper.c_str(), const_cast<char**>(argv), envp.data());
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    std::thread writer([&] {
        size_t done = 0;
        while (done < input.size()) {
            const ssize_t written = write(in[1], input.data() + done, input.size() - done);
            if (written <= 0)
                break;
            done += static_cast<size_t>(written);
        }
        close(in[1]);
    });
    Sample sample;
    const testkit::XWindow window = x.WaitForWindow(pid, 60s);
    sample.mappedMs = Ms(Clock::now() - start);
    writer.join();
    if (window == testkit::kNoWindow) {
        kill(pid, SIGKILL);
        throw std::runtime_error("no window");
    }
    x.Focus(window);
    x.PressKey("End");
    x.PressKey("Return");
    std::string answer;
    char buffer[4096];
    for (;;) {
        const ssize_t got = read(out[0], buffer, sizeof buffer);
        if (got <= 0)
            break;
        answer.append(buffer, static_cast<size_t>(got));
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    sample.answeredMs = Ms(Clock::now() - start);
    close(out[0]);
    sample.cpuMs = (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 +
                   (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
    sample.peakMib = usage.ru_maxrss / 1024.0;

    // The answer must be the last record (an empty list answers zeros).
    char expected[64] = "";
    if (n > 0)
        std::snprintf(expected, sizeof expected, "\\\\.\\HDIMAGE\\container-%06u", n - 1);
    VTUISelectItem_ item{};
    if (answer.size() != sizeof item || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("bad answer of " + std::to_string(answer.size()) + " bytes, status " +
                                 std::to_string(status));
    std::memcpy(&item, answer.data(), sizeof item);
    if (std::strcmp(item.primary_name, expected) != 0)
        throw std::runtime_error(std::string("answered ") + item.primary_name + ", not " + expected);
    return sample;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::uint32_t> sizes = {0, 1000, 10000, 100000};
    int runs = 5;
    std::string helper = XVTUI_BINARY;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--runs") {
            runs = std::atoi(argv[i + 1]);
        } else if (option == "--sizes") {
            sizes.clear();
            for (const char* p = argv[i + 1]; *p != '\0';) {
                char* end = nullptr;
                sizes.push_back(static_cast<std::uint32_t>(std::strtoul(p, &end, 10)));
                p = *end == ',' ? end + 1 : end;
            }
        } else if (option == "--helper") {
            helper = argv[i + 1];
        } else {
            std::fprintf(stderr, "usage: %s [--runs N] [--sizes N,N,...] [--helper PATH]\n", argv[0]);
            return 2;
        }
    }
    double load[3] = {};
    getloadavg(load, 3);
    std::printf("load average %.2f; %d runs per size\n", load[0], runs);
    std::printf("%8s %10s | %-26s | %-26s | %10s | %10s\n", "records", "bytes MiB", "spawn -> mapped ms (med/p90/max)",
                "spawn -> answered ms", "CPU ms med", "peak MiB");
    testkit::PrivateDisplay();
    testkit::XClient x;
    testkit::Sandbox sandbox;
    for (const std::uint32_t n : sizes) {
        const std::string input = Input(n);
        std::vector<double> mapped, answered, cpu, peak;
        Run(helper, input, n, x, sandbox); // warm-up
        for (int r = 0; r < runs; ++r) {
            const Sample s = Run(helper, input, n, x, sandbox);
            mapped.push_back(s.mappedMs);
            answered.push_back(s.answeredMs);
            cpu.push_back(s.cpuMs);
            peak.push_back(s.peakMib);
        }
        const bench::Summary m = bench::Summarize(mapped), a = bench::Summarize(answered),
                             c = bench::Summarize(cpu), p = bench::Summarize(peak);
        std::printf("%8u %10.1f | %7.1f %7.1f %7.1f    | %7.1f %7.1f %7.1f    | %10.1f | %10.1f\n", n,
                    static_cast<double>(n) * sizeof(VTUISelectItem_) / (1 << 20), m.median, m.p90, m.max,
                    a.median, a.p90, a.max, c.median, p.max);
        std::fflush(stdout);
    }
    getloadavg(load, 3);
    std::printf("load average %.2f\n", load[0]);
    return 0;
}
