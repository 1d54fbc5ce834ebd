// Peers.h: `xvtui_bench peers`, every dialog of the helper beside the floor of
// a GTK+ 2 dialog and the password dialogs a Debian desktop would otherwise
// run, in one run.
//
// Every sample is a fresh process on the benchmark's private Xvfb, and the
// contestants take turns (one sample of each, round after round), so that a
// change of the machine's load meets them alike and ratios within the run
// stay fair. Per sample: spawn -> window mapped, the process's CPU time until
// then, its CPU time and the X server's while the focused, drawn window waits
// (10 s by default), and its peak RSS once it is terminated. The ratios to the
// floor (bench/Floor.c) and to pinentry-gtk-2 are of medians of the same run.
#pragma once

namespace bench {

// Runs the comparison with the options after "peers" (see --help); returns
// the exit status: 0, 1 when --check finds a goal missed, 2 on a failure.
int RunPeers(int argc, char** argv);

} // namespace bench
