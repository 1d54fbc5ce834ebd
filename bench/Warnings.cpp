// Warnings.cpp: the password warnings of one keystroke, timed.
#include "bench/Warnings.h"

#include "base/secure/SecureString.h"
#include "bench/Stats.h"
#include "dialogs/password/PasswordWarnings.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace bench {

void PrintWarningsCost(std::size_t bytes, int repeats)
{
    using Clock = std::chrono::steady_clock;
    // ASCII with a two-byte Cyrillic letter now and then, so that the
    // not-ASCII rule decodes the whole text; the confirmation differs in its
    // last byte, so that equality is decided at the end.
    std::string typed;
    while (typed.size() + 2 <= bytes)
        typed += typed.size() % 64 == 0 ? "\xD0\x96" : "a1";
    typed.resize(bytes, 'x');
    std::string confirmationText = typed;
    confirmationText.back() = 'y';
    const PasswordWarnings::Texts texts{"Input and confirmation do not match", "Caps Lock button is on",
                                        "Entered %s is too short", "Entered %s contains not ASCII symbols",
                                        "Entered %s is not secure"};

    std::vector<double> micros;
    std::size_t lines = 0;
    for (int i = 0; i < repeats; ++i) {
        const auto start = Clock::now();
        secure::String newPassword, confirmation; // the dialog's copies of the entries
        newPassword.assign(typed.data(), typed.size());
        confirmation.assign(confirmationText.data(), confirmationText.size());
        PasswordWarnings::Queue errors;
        PasswordWarnings::AddTwoEntryWarnings(errors, texts, newPassword.view(), confirmation.view(), true, "PIN");
        PasswordWarnings::AddBaseWarnings(errors, texts, newPassword.view(), true, false, "PIN", "PIN");
        PasswordWarnings::AddTriesLeftWarning(errors, "Wrong PIN, 2 tries left");
        lines += PasswordWarnings::TakeHintText(errors).size();
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    const Summary summary = Summarize(micros);
    std::printf("\npassword warnings of one keystroke at %zu bytes (change dialog, %d times): median %.1f us, "
                "p90 %.1f us, max %.1f us\n",
                bytes, repeats, summary.median, summary.p90, summary.max);
    std::fflush(stdout);
    (void)lines;
}

} // namespace bench
