// xvtui-ask: asks the helper one question, as the provider would, and prints
// the decoded answer. See AskCommand.h for the command line.
#include "client/AskCommand.h"
#include "client/Doctor.h"
#include "client/HelperProcess.h"
#include "client/RandomParent.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

bool WriteAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    using namespace xvtui::client;
    const std::vector<std::string> args(argv + 1, argv + argc);
    std::string error;
    std::optional<AskCommand> command = ParseAskCommand(args, error);
    if (!command) {
        std::fprintf(stderr, "xvtui-ask: %s\n%s", error.c_str(), AskUsageText().c_str());
        return kAskUsage;
    }
    if (command->help) {
        std::fputs(AskUsageText().c_str(), stdout);
        return kAskAnswered;
    }
    try {
        LaunchOptions options;
        options.helper = ChooseHelper(command->helper, std::getenv("XVTUI_HELPER"), SelfExecutable());
        if (command->doctor) {
            const std::vector<DoctorCheck> checks = RunDoctor(options.helper);
            if (!WriteAll(STDOUT_FILENO, FormatDoctor(checks)))
                throw ClientError(std::string("cannot write the report: ") + std::strerror(errno));
            return DoctorPassed(checks) ? kAskAnswered : kAskRefused;
        }
        std::string note;
        const RunResult run = command->randomUnits
                                  ? RunRandomDemo(*command->randomUnits, options, command->timeout, note)
                                  : Run(command->request, options, command->timeout);
        if (!note.empty() && !WriteAll(STDOUT_FILENO, note + "\n"))
            throw ClientError(std::string("cannot write the answer: ") + std::strerror(errno));
        const Answer answer = Decode(run, command->request.decoder);
        const secure::String text =
            FormatAnswer(answer, run.output.view(), command->request.secretAnswer, command->reveal);
        // Straight to the descriptor: a revealed password must not linger in
        // the C library's output buffer.
        if (!WriteAll(STDOUT_FILENO, text.view()))
            throw ClientError(std::string("cannot write the answer: ") + std::strerror(errno));
        return ExitCodeFor(answer);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "xvtui-ask: %s\n", e.what());
        return kAskError;
    }
}
