#include "dialogs/password/PasswordQuality.h"

#include <cmath>
#include <cstring>

#include "app/xvtui_exception.h"
#include "base/secure/SecureMemory.h"

int compare_bytes(const void* left, const void* right)
{
    const int a = *static_cast<const signed char*>(left);
    const int b = *static_cast<const signed char*>(right);
    return a - b;
}

std::uint32_t is_passwd_secure(const char* password, int* isSecure, double minEntropy)
{
    if (isSecure == nullptr) {
        return ResultCode::BadArgs;
    }
    if (password == nullptr) {
        password = "";
    }
    const std::size_t n = std::strlen(password);
    // How often each byte value occurs: the groups of equal bytes a sorted
    // copy would have, without sorting (a keystroke in a 4 KiB entry must stay
    // cheap). The counts say much about the password, so they live in wiped
    // storage too.
    constexpr std::size_t kByteValues = 256;
    constexpr std::size_t kCountBytes = kByteValues * sizeof(std::size_t);
    auto* counts = static_cast<std::size_t*>(secure::TryAllocate(kCountBytes));
    if (counts == nullptr) {
        return kPasswordNoMemory;
    }
    std::memset(counts, 0, kCountBytes);
    for (std::size_t i = 0; i < n; ++i) {
        ++counts[static_cast<unsigned char>(password[i])];
    }

    double entropy;
    if (n == 0) {
        // The frequency of the one (missing) byte is 1/0: H tends to minus
        // infinity, and the empty password is not secure.
        entropy = -INFINITY;
    } else {
        constexpr double kLn2 = 0.6931471805599453;
        double sum = 0.0;
        // In compare_bytes' order (signed bytes ascending), the order in which
        // a sorted copy meets its groups, so the sum is the same to the bit.
        for (int value = -128; value < 128; ++value) {
            const std::size_t count = counts[static_cast<unsigned char>(static_cast<signed char>(value))];
            if (count == 0) {
                continue;
            }
            const double p = static_cast<double>(count) / static_cast<double>(n);
            sum += p * (std::log(p) / kLn2);
        }
        entropy = -sum;
    }
    secure::Release(counts, kCountBytes);

    *isSecure = (entropy < minEntropy) ? 0 : 1;
    return 0;
}
