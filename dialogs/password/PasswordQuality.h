// The password-strength rule: Shannon entropy of the password's bytes.
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDQUALITY_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDQUALITY_H

#include <cstdint>

// Out of memory (NTE_NO_MEMORY).
inline constexpr std::uint32_t kPasswordNoMemory = 0x8009000E;

// Comparator of single bytes, compared as signed 8-bit values: the order in
// which is_passwd_secure sums its groups of equal bytes.
int compare_bytes(const void* left, const void* right);

// Entropy in bits per byte of the NUL-terminated `password`, against
// `minEntropy`: writes 1 through `isSecure` when H >= minEntropy (also when H
// is not a number), else 0, and returns 0. The dialogs use 2.0, so a password
// needs at least four distinct bytes, equally frequent when exactly four
// ("abcd" passes at exactly 2.0, "abca" fails); an empty or one-byte password
// fails. Its byte counts live in wiped storage. Returns
// kPasswordNoMemory, leaving *isSecure untouched, when no work memory can be
// had, and 0x80070057 when `isSecure` is null. A null password reads as "".
std::uint32_t is_passwd_secure(const char* password, int* isSecure, double minEntropy);

#endif
