// xvtui-drive: drives a dialog of another process from a script, with the
// test kit's X helpers (for the demo and for documentation screenshots).
//
//   xvtui-drive (--pid N | --child-of N) [--display D] [--timeout SECONDS] ACTION...
//
// It waits for the process's window (for --child-of, a window of any child of
// process N), gives it the focus, then runs the actions in order:
//   --wait-paint          wait until the window is drawn and quiet
//   --screenshot FILE     save the window as PNG
//   --key NAME            press a key by keysym name (Return, Escape, Tab, space)
//   --type TEXT           type UTF-8 text
//   --click-button N      click button N of the bottom row (0 = leftmost, -1 = rightmost)
//   --close               ask the window to close (WM_DELETE_WINDOW)
//   --caps                print "caps-lock on" or "caps-lock off"
// Exit status: 0 done, 1 no window or an action failed, 2 bad usage.
#include "common/XClient.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// The parent process id of `pid`, or -1.
pid_t ParentOf(pid_t pid)
{
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(stat, line))
        return -1;
    // "pid (comm) state ppid ...": comm may hold blanks and parentheses.
    const size_t close = line.rfind(')');
    if (close == std::string::npos)
        return -1;
    char state = 0;
    int parent = -1;
    if (std::sscanf(line.c_str() + close + 1, " %c %d", &state, &parent) != 2)
        return -1;
    return parent;
}

int Usage(const char* problem)
{
    std::fprintf(stderr,
                 "xvtui-drive: %s\n"
                 "usage: xvtui-drive (--pid N | --child-of N) [--display D] [--timeout SECONDS]\n"
                 "       [--wait-paint] [--screenshot FILE] [--key NAME] [--type TEXT]\n"
                 "       [--click-button N] [--close] [--caps] ...\n",
                 problem);
    return 2;
}

bool ToInt(const std::string& text, long& value)
{
    char* end = nullptr;
    value = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && end != nullptr && *end == '\0';
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> args(argv + 1, argv + argc);
    long pid = -1;
    bool childOf = false;
    std::string display = std::getenv("DISPLAY") != nullptr ? std::getenv("DISPLAY") : "";
    long timeoutSeconds = 15;
    std::vector<std::pair<std::string, std::string>> actions;

    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& option = args[i];
        const bool takesValue = option == "--pid" || option == "--child-of" || option == "--display" ||
                                option == "--timeout" || option == "--screenshot" ||
                                option == "--key" || option == "--type" || option == "--click-button";
        std::string value;
        if (takesValue) {
            if (i + 1 >= args.size())
                return Usage((option + " needs a value").c_str());
            value = args[++i];
        }
        if (option == "--pid" || option == "--child-of") {
            if (!ToInt(value, pid) || pid <= 0)
                return Usage("a process id is a positive number");
            childOf = option == "--child-of";
        } else if (option == "--display") {
            display = value;
        } else if (option == "--timeout") {
            if (!ToInt(value, timeoutSeconds) || timeoutSeconds <= 0)
                return Usage("--timeout needs a positive number of seconds");
        } else if (option == "--wait-paint" || option == "--close" || option == "--caps" || takesValue) {
            actions.emplace_back(option, value);
        } else {
            return Usage(("unknown option " + option).c_str());
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
            std::fprintf(stderr, "xvtui-drive: no window of process %ld within %ld s\n", pid,
                         timeoutSeconds);
            return 1;
        }
        x.Focus(window);
        for (const auto& [action, value] : actions) {
            if (action == "--wait-paint") {
                if (!x.WaitForPaint(window, timeout))
                    throw std::runtime_error("the window was not drawn in time");
            } else if (action == "--screenshot") {
                x.Screenshot(window, value);
            } else if (action == "--key") {
                x.PressKey(value);
            } else if (action == "--type") {
                x.TypeText(value);
            } else if (action == "--click-button") {
                long index = 0;
                const std::vector<testkit::Rect> row = x.BottomButtonRow(window);
                if (!ToInt(value, index) || row.empty())
                    throw std::runtime_error("no such button");
                if (index < 0)
                    index += static_cast<long>(row.size());
                if (index < 0 || index >= static_cast<long>(row.size()))
                    throw std::runtime_error("no such button");
                x.ClickCenter(row[static_cast<size_t>(index)]);
            } else if (action == "--close") {
                x.SendDeleteWindow(window);
            } else if (action == "--caps") {
                std::printf("caps-lock %s\n", x.CapsLockOn() ? "on" : "off");
            }
        }
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "xvtui-drive: %s\n", e.what());
        return 1;
    }
}
