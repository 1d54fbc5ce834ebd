// ProcessFigures.h: memory and CPU figures of another process, from the kernel.
//
// Two moments are measured: while the process runs (its memory as mapped
// now, from /proc/PID/smaps_rollup) and after it has ended (its peak resident
// set and CPU time, from the rusage the kernel keeps for an unreaped child).
#pragma once

#include <optional>
#include <sys/types.h>

namespace bench {

// The process's memory now, in KiB, summed over all its mappings.
struct MemoryNow {
    long rss = 0;           // resident
    long pss = 0;           // resident, shared pages divided among their users
    long privateDirty = 0;  // written pages only this process has: its own cost
};

// Reads /proc/PID/smaps_rollup; nullopt when the process is gone or the
// file cannot be read.
std::optional<MemoryNow> ReadMemoryNow(pid_t pid);

// What the kernel recorded for an ended child.
struct EndedChild {
    long peakRssKib = 0; // ru_maxrss
    double cpuMs = 0;    // user + system time
    long majorFaults = 0;
};

// The rusage of child `pid`, which must have ended: the same figures wait4
// reports, read with waitid(WNOWAIT) so that the child stays unreaped for
// its owner (the client library reaps it afterwards). Does not wait: nullopt
// when `pid` is still running or is not a child of this process.
std::optional<EndedChild> ReadEndedChild(pid_t pid);

} // namespace bench
