#include "dialogs/password/CheckBoxControl.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace CheckBoxControl {

State Decode(std::uint32_t word)
{
    State state;
    if ((word & CBF_VISIBLE) == 0) {
        state.hide = true;
        return state;
    }
    state.insensitive = (word & CBF_CHANGEABLE) == 0;
    state.active = (word & CBF_CHECKED) != 0;
    return state;
}

std::uint32_t ReadWord(int fd)
{
    unsigned char bytes[sizeof(std::uint32_t)];
    std::size_t got = 0;
    while (got < sizeof bytes) {
        const ssize_t n = ::read(fd, bytes + got, sizeof bytes - got);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return 0;
        }
        got += static_cast<std::size_t>(n);
    }
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

} // namespace CheckBoxControl
