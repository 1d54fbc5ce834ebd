// HelperProcess.h: runs the helper as the provider does.
//
// The helper is started with a pipe on its standard input and one on its
// standard output; standard error and the environment are passed through (or
// the environment is replaced), every other descriptor is closed. The
// request's input is written at start and the pipe closed; the answer is read
// to its end (at most `maxOutput` bytes) and the exit status collected.
//
// In conversation mode the input stays open after the request's input, so
// that the caller can talk with a helper that reads and writes while it runs
// (the random-data dialog): Send, Receive, and EndInput when done.
//
// `Ask` does all of it in one call. `HelperProcess` splits it so that a test
// can act on the running dialog between start and finish, and can run the
// helper under an intermediate parent process that it kills, to see what the
// helper does when its parent disappears.
#pragma once

#include "client/Answer.h"
#include "client/Request.h"

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace xvtui::client {

// The helper could not be started (no such file, no pipes, ...).
class ClientError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct LaunchOptions {
    std::string helper; // path of the xvtui executable
    // "NAME=value" entries replacing the environment; unset: this process's own.
    std::optional<std::vector<std::string>> environment;
    // Start the helper as the child of a small intermediate process instead of
    // this one. This process becomes a child subreaper (once set, it stays set)
    // so that the helper, orphaned by KillIntermediate(), is re-parented to it
    // and its exit status can still be collected.
    bool intermediateParent = false;
    // Keep the helper's input open after the request's input (see above).
    bool conversation = false;
    size_t maxOutput = 1024 * 1024;
};

class HelperProcess {
public:
    // Starts the helper and writes as much of the request's input as the pipe
    // takes at once (the rest is written by Finish). Throws ClientError.
    HelperProcess(const Request& request, const LaunchOptions& options);
    // Kills and reaps a helper (and intermediate parent) that was not finished.
    ~HelperProcess();
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    // The helper's process id (kept after it has been reaped).
    pid_t Pid() const { return m_pid; }
    // The intermediate parent, or -1.
    pid_t IntermediatePid() const { return m_intermediate; }

    // Kills the intermediate parent (SIGKILL) and reaps it; the helper lives
    // on as an orphan. Throws ClientError without an intermediate parent.
    void KillIntermediate();
    // Closes this side's end of the helper's standard output, as a provider
    // that stops listening would; the answer is then not read.
    void CloseOutput();
    // Sends `signal` to the helper.
    void Signal(int signal);
    // Waits up to `timeout` for the helper to end, without collecting it or
    // its answer; true when it has ended. Finish still has to be called.
    bool WaitForExit(std::chrono::milliseconds timeout);

    // Conversation mode. Writes the rest of the request's input, then `bytes`;
    // false when the helper's input is closed or gone, or `timeout` passes
    // first (part of `bytes` may then have been written).
    bool Send(std::string_view bytes, std::chrono::milliseconds timeout);
    // Reads until `size` bytes have arrived, the helper's output ends or
    // `timeout` passes; returns how many arrived. What the helper writes is
    // read here or by Finish, never twice.
    size_t Receive(void* buffer, size_t size, std::chrono::milliseconds timeout);
    // Closes the helper's input, as the end of the conversation.
    void EndInput() { CloseInput(); }

    // Writes the rest of the input, reads the answer and waits for the helper
    // to end. Past `timeout` the helper is killed and the result is marked
    // timed out. Can be called once.
    RunResult Finish(std::optional<std::chrono::milliseconds> timeout = std::nullopt);

private:
    void PumpIo(RunResult& result, std::optional<std::chrono::steady_clock::time_point> deadline);
    void Reap(RunResult& result, std::optional<std::chrono::steady_clock::time_point> deadline);
    void CloseInput();

    pid_t m_pid = -1;
    pid_t m_intermediate = -1;
    bool m_intermediateKilled = false;
    bool m_finished = false;
    bool m_reaped = false;
    int m_pidFd = -1; // pidfd of the helper: readable once it has ended
    int m_inFd = -1;  // write end of its standard input
    int m_outFd = -1; // read end of its standard output
    secure::String m_input;
    size_t m_inputWritten = 0;
    size_t m_maxOutput = 0;
};

// Starts the helper, feeds it and waits for it.
RunResult Run(const Request& request, const LaunchOptions& options,
              std::optional<std::chrono::milliseconds> timeout = std::nullopt);
// Run, then Decode with the request's decoder.
Answer Ask(const Request& request, const LaunchOptions& options,
           std::optional<std::chrono::milliseconds> timeout = std::nullopt);

// The helper next to `executable` (the same directory), e.g. the tool's own
// path from /proc/self/exe.
std::string HelperNextTo(const std::string& executable);
// The path of this process's executable.
std::string SelfExecutable();

} // namespace xvtui::client
