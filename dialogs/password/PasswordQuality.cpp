#include "dialogs/password/PasswordQuality.h"

#include <cmath>
#include <cstdlib>
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
    char* sorted = static_cast<char*>(secure::TryAllocate(n + 1));
    if (sorted == nullptr) {
        return kPasswordNoMemory;
    }
    std::memcpy(sorted, password, n + 1);
    std::qsort(sorted, n, 1, compare_bytes);

    double entropy;
    if (n == 0) {
        // The frequency of the one (missing) byte is 1/0: H tends to minus
        // infinity, and the empty password is not secure.
        entropy = -INFINITY;
    } else {
        constexpr double kLn2 = 0.6931471805599453;
        double sum = 0.0;
        for (std::size_t start = 0; start < n;) {
            std::size_t end = start + 1;
            while (end < n && sorted[end] == sorted[start]) {
                ++end;
            }
            const double p = static_cast<double>(end - start) / static_cast<double>(n);
            sum += p * (std::log(p) / kLn2);
            start = end;
        }
        entropy = -sum;
    }
    secure::Release(sorted, n + 1);

    *isSecure = (entropy < minEntropy) ? 0 : 1;
    return 0;
}
