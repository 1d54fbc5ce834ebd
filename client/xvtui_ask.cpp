// xvtui-ask: asks the helper one question, as the provider would, and prints
// the decoded answer. See AskCommand.h for the command line.
#include "client/AskCommand.h"
#include "client/HelperProcess.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

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
        const RunResult run = Run(command->request, options, command->timeout);
        const Answer answer = Decode(run, command->request.decoder);
        const std::string text =
            FormatAnswer(answer, run.output.view(), command->request.secretAnswer, command->reveal);
        std::fwrite(text.data(), 1, text.size(), stdout);
        return ExitCodeFor(answer);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "xvtui-ask: %s\n", e.what());
        return kAskError;
    }
}
