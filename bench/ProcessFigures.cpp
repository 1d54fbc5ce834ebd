// ProcessFigures.cpp: /proc/PID/smaps_rollup and the rusage of an ended child.
#include "bench/ProcessFigures.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <signal.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

std::optional<MemoryNow> ReadMemoryNow(pid_t pid)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/smaps_rollup");
    if (!in)
        return std::nullopt;
    MemoryNow memory;
    const std::pair<const char*, long MemoryNow::*> fields[] = {
        {"Rss:", &MemoryNow::rss},
        {"Pss:", &MemoryNow::pss},
        {"Private_Dirty:", &MemoryNow::privateDirty},
    };
    bool any = false;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string name;
        long kib = 0;
        if (!(words >> name >> kib))
            continue;
        for (const auto& [field, member] : fields) {
            if (name == field) {
                memory.*member = kib;
                any = true;
            }
        }
    }
    // A process that has just ended leaves an empty file behind.
    if (!any)
        return std::nullopt;
    return memory;
}

std::optional<EndedChild> ReadEndedChild(pid_t pid)
{
    // glibc's waitid() has no rusage argument; the system call has one, and
    // with WNOWAIT it reports the ended child's usage without reaping it.
    siginfo_t info{};
    rusage usage{};
    long result;
    do {
        result = syscall(SYS_waitid, P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT | WNOHANG, &usage);
    } while (result < 0 && errno == EINTR);
    if (result < 0 || info.si_pid != pid)
        return std::nullopt;
    const auto ms = [](const timeval& t) { return t.tv_sec * 1000.0 + t.tv_usec / 1000.0; };
    return EndedChild{usage.ru_maxrss, ms(usage.ru_utime) + ms(usage.ru_stime), usage.ru_majflt};
}

} // namespace bench
