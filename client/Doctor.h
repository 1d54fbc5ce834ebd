// Doctor.h: `xvtui-ask doctor`, a check of what the helper needs on this
// machine, each failure with a one-line fix.
//
// The checks look where the helper itself would: the support library is the
// one the helper's dynamic loader resolves (its path is always reported),
// and the catalogue directories and settings are read through that very
// library. Nothing is changed and no dialog is shown.
#pragma once

#include <string>
#include <vector>

namespace xvtui::client {

struct DoctorCheck {
    bool ok = false;
    std::string what; // one line: what was checked and what was found
    std::string fix;  // one line; empty when ok
};

// The catalogue texts (set 1 of libcsp.cat) that the dialogs look up.
inline constexpr unsigned kCatalogTextsUsed[] = {2003, 2020, 2025, 2027, 2096, 2098,
                                                 2099, 2118, 2141, 2142, 2143, 2144};

// Runs every check against the helper at `helper`, in this order: the
// helper, its support library, the display, the Russian locales, the two
// catalogues, the two settings stores.
std::vector<DoctorCheck> RunDoctor(const std::string& helper);

// "ok    WHAT", or "FAIL  WHAT" and "      fix: FIX", a line each.
std::string FormatDoctor(const std::vector<DoctorCheck>& checks);

// True when every check passed.
bool DoctorPassed(const std::vector<DoctorCheck>& checks);

} // namespace xvtui::client
