// Probes.h: measurements taken inside a fresh process of the benchmark.
//
// Some costs exist only once per process (GTK and font start-up, the locale
// recognition, opening the message catalogue), so the benchmark re-executes
// itself with "--probe NAME" for each sample. A probe writes "name value"
// lines to standard output, one per figure, and exits with 0.
//
// gtk-dialog: a bare GTK message dialog shaped like the helper's (question
//   icon, text, a check box, OK), without any of the helper's code. Its
//   figures are steady-clock time points in nanoseconds (the clock every
//   process of the machine shares), so that the parent can place them after
//   its own spawn time: main, gtk_init, first_layout, built, shown, mapped,
//   exposed. It ends when the dialog gets a response (Return, Escape).
// l10n: the helper's own localisation pieces, cold: locale recognition, the
//   first CP1251 text, the first and a second catalogue lookup, the three
//   time-out settings. Figures are durations in nanoseconds, plus
//   "catalogue_found" 1 or 0. It reads the environment it is given (LANG,
//   LC_ALL, TORVIK_*).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace bench {

inline constexpr std::string_view kProbeGtkDialog = "gtk-dialog";
inline constexpr std::string_view kProbeL10n = "l10n";

// Runs probe `name` in this process and returns its exit status; nullopt
// when there is no such probe.
std::optional<int> RunProbe(std::string_view name);

// Reads a probe's output; malformed lines are skipped.
std::map<std::string, double> ParseProbeOutput(std::string_view output);

} // namespace bench
