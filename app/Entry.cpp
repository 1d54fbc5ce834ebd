#include "app/Entry.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>

#include "app/DialogFactory.h"
#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "protocol/Pipe.h"
#include "protocol/ResultCode.h"
#include "support/torvik.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr unsigned long kErrorLevel = 1;
// How long a "ret=" text without a dialog waits for room: the default total time-out.
constexpr std::chrono::seconds kLastWordLimit{600};

void LogError(const TSupportPrint* log, const char* text, int line)
{
    if (log != nullptr && support_print_is(log, kErrorLevel))
        support_elprint_print_(log, "%s", "", line, "main", text);
}

// The provider connects standard input and output to pipes. Were one of the
// three standard descriptors closed, the next file opened (the log, the X
// connection) would take its number, and the answer would be written into
// that file or the request read from it: /dev/null fills such a gap first.
// True when standard output was one of them: no answer can reach anyone.
bool OpenMissingStandardDescriptors()
{
    bool outputMissing = false;
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) != -1 || errno != EBADF)
            continue;
        outputMissing = outputMissing || fd == STDOUT_FILENO;
        const int opened = open("/dev/null", fd == STDIN_FILENO ? O_RDONLY : O_WRONLY);
        if (opened > STDERR_FILENO)
            close(opened); // not the gap, so nothing to fill
    }
    return outputMissing;
}

// Runs `body` and returns its result code, or the code of the exception it
// raised, logged: the entry's one catch ladder.
template <class Body>
std::uint32_t Guarded(const TSupportPrint* log, Body body)
{
    try {
        return body();
    } catch (const xvtui_exception& error) {
        LogError(log, error.what(), __LINE__);
        // A code of 0 claims success: the caller decides whether it can be one.
        return error.GetCode();
    } catch (const std::exception& error) {
        LogError(log, error.what(), __LINE__);
    } catch (...) {
        LogError(log, "unknown exception", __LINE__);
    }
    return ResultCode::ForeignException;
}

} // namespace

int RunEntry(int argc, char** argv)
{
    const bool outputMissing = OpenMissingStandardDescriptors();
    const xvtui::protocol::Pipe out = xvtui::protocol::Pipe::Standard();
    TSupportPrint* log = support_print_init(nullptr, "xvtui", 0, 127);
    if (argc < 2 || argv == nullptr || argv[1] == nullptr) {
        // Not started by the provider; the log stays open on purpose (kept
        // reachable, so that leak checkers do not report it).
        [[maybe_unused]] static TSupportPrint* volatile unclosedLog;
        unclosedLog = log;
        out.Write(xvtui::protocol::kUsageText);
        return 1;
    }
    // Nobody could read the answer: no dialog is shown for it.
    if (outputMissing || BaseDialog::CheckBrokenPipe()) {
        const xvtui_exception lost(ResultCode::BrokenPipe, "main", "standard output is closed");
        LogError(log, lost.what(), __LINE__);
        BaseDialog::WatchedPipe(out, kLastWordLimit).Write(xvtui::protocol::RetText(lost.GetCode()));
        support_print_done(log);
        return static_cast<int>(lost.GetCode());
    }

    std::unique_ptr<BaseDialog> dialog;
    std::uint32_t result = Guarded(log, [&] {
        dialog = DialogFactory::CreateDialog(std::string(argv[1]), argc, argv);
        return dialog->ShowDialog();
    });
    // Success needs a dialog to answer; an error before one existed cannot be one.
    if (result == ResultCode::Answered && dialog == nullptr)
        result = ResultCode::Failed;
    if (result == ResultCode::Answered) {
        bool printed = false;
        result = Guarded(log, [&] {
            dialog->PrintResultToPipe();
            printed = true;
            return static_cast<std::uint32_t>(ResultCode::Answered);
        });
        // An error while answering that claims success still lost the answer.
        if (result == ResultCode::Answered && !printed)
            result = ResultCode::Failed;
    }
    // Written while the parent is there to read it, and no longer than a
    // dialog waits; a reader that is gone makes this fail, the status stays.
    if (result != ResultCode::Answered)
        BaseDialog::WatchedPipe(out, dialog != nullptr ? dialog->WaitLimit() : kLastWordLimit)
            .Write(xvtui::protocol::RetText(result));
    support_print_done(log);
    dialog.reset();
    return static_cast<int>(result);
}
