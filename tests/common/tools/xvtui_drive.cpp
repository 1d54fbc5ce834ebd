// xvtui-drive: drives another process's dialog from a script (the demo and the
// documentation's screenshots) with the test kit's X helpers; Usage() below
// lists its options.
#include "common/XClient.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

pid_t ParentOf(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("PPid:"))
            return std::atoi(line.c_str() + 5);
    return -1;
}

int Usage(const std::string& problem)
{
    std::fprintf(stderr,
                 "xvtui-drive: %s\n"
                 "usage: xvtui-drive (--pid N | --child-of N) [--display D] [--timeout SECONDS] ACTION...\n"
                 "Waits for the window of process N (or of any child of N), focuses it, then runs:\n"
                 "  --wait-paint          wait until the window is drawn and quiet\n"
                 "  --screenshot FILE     save the window as PNG\n"
                 "  --key NAME            press a key by keysym name (Return, Escape, Tab, space)\n"
                 "  --type TEXT           type UTF-8 text\n"
                 "  --click-button N      click button N of the bottom row (0 leftmost, -1 rightmost)\n"
                 "  --move X,Y            move the pointer to X,Y of the window\n"
                 "  --close               ask the window to close (WM_DELETE_WINDOW)\n"
                 "  --caps                print \"caps-lock on\" or \"caps-lock off\"\n"
                 "Exit status: 0 done, 1 no window or an action failed, 2 bad usage.\n",
                 problem.c_str());
    return 2;
}

bool ToInt(const std::string& text, long& value)
{
    char* end = nullptr;
    value = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0';
}

} // namespace

int main(int argc, char** argv)
{
    // Each option, and whether it takes a value.
    const std::map<std::string, bool> options = {
        {"--pid", true}, {"--child-of", true}, {"--display", true}, {"--timeout", true},
        {"--screenshot", true}, {"--key", true}, {"--type", true}, {"--click-button", true}, {"--move", true},
        {"--wait-paint", false}, {"--close", false}, {"--caps", false}};
    long pid = -1;
    bool childOf = false;
    std::string display = std::getenv("DISPLAY") != nullptr ? std::getenv("DISPLAY") : "";
    long timeoutSeconds = 15;
    std::vector<std::pair<std::string, std::string>> actions;

    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        const auto known = options.find(option);
        if (known == options.end())
            return Usage("unknown option " + option);
        if (known->second && ++i == argc)
            return Usage(option + " needs a value");
        const std::string value = known->second ? argv[i] : "";
        if (option == "--pid" || option == "--child-of") {
            if (!ToInt(value, pid) || pid <= 0)
                return Usage("a process id is a positive number");
            childOf = option == "--child-of";
        } else if (option == "--display") {
            display = value;
        } else if (option == "--timeout") {
            if (!ToInt(value, timeoutSeconds) || timeoutSeconds <= 0)
                return Usage("--timeout needs a positive number of seconds");
        } else {
            actions.emplace_back(option, value);
        }
    }
    if (pid <= 0)
        return Usage("--pid or --child-of is required");
    if (display.empty())
        return Usage("no display: set DISPLAY or give --display");

    try {
        testkit::XClient x(display);
        const testkit::Millis timeout(timeoutSeconds * 1000);
        const auto target = static_cast<pid_t>(pid);
        const testkit::XWindow window =
            childOf ? x.WaitForWindow([target](pid_t owner) { return ParentOf(owner) == target; }, timeout)
                    : x.WaitForWindow(target, timeout);
        if (window == testkit::kNoWindow) {
            std::fprintf(stderr, "xvtui-drive: no window of process %ld within %ld s\n", pid, timeoutSeconds);
            return 1;
        }
        x.Focus(window);
        for (const auto& [action, value] : actions) {
            if (action == "--wait-paint" && !x.WaitForPaint(window, timeout))
                throw std::runtime_error("the window was not drawn in time");
            if (action == "--screenshot") {
                x.Screenshot(window, value);
            } else if (action == "--key") {
                x.PressKey(value);
            } else if (action == "--type") {
                x.TypeText(value);
            } else if (action == "--move") {
                const size_t comma = value.find(',');
                long dx = 0, dy = 0;
                if (comma == std::string::npos || !ToInt(value.substr(0, comma), dx) ||
                    !ToInt(value.substr(comma + 1), dy))
                    throw std::runtime_error("--move needs X,Y");
                const testkit::Rect at = x.Geometry(window);
                x.MovePointer(at.x + static_cast<int>(dx), at.y + static_cast<int>(dy));
            } else if (action == "--close") {
                x.SendDeleteWindow(window);
            } else if (action == "--caps") {
                std::printf("caps-lock %s\n", x.CapsLockOn() ? "on" : "off");
            } else if (action == "--click-button") {
                const std::vector<testkit::Rect> row = x.BottomButtonRow(window);
                const long count = static_cast<long>(row.size());
                long index = 0;
                if (!ToInt(value, index) || index < -count || index >= count)
                    throw std::runtime_error("no such button");
                x.ClickCenter(row[static_cast<size_t>((index + count) % count)]);
            }
        }
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "xvtui-drive: %s\n", e.what());
        return 1;
    }
}
