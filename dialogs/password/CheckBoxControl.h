// The control words of the one-entry dialog's two check boxes, as the parent
// sends them on standard input: two unsigned 32-bit words in host byte order,
// the save-password box's first. Plain code without GTK.
#ifndef XVTUI_DIALOGS_PASSWORD_CHECKBOXCONTROL_H
#define XVTUI_DIALOGS_PASSWORD_CHECKBOXCONTROL_H

#include <cstdint>

namespace CheckBoxControl {

// The defined bits; all others are ignored.
inline constexpr std::uint32_t CBF_VISIBLE = 0x1;    // shown (else hidden at set-up; 1 and 2 unread)
inline constexpr std::uint32_t CBF_CHANGEABLE = 0x2; // the user may toggle it (else greyed)
inline constexpr std::uint32_t CBF_CHECKED = 0x4;    // starts ticked

// What a word asks of its box at set-up.
struct State {
    bool hide = false;        // hide the box (nothing else applies)
    bool insensitive = false; // grey it out
    bool active = false;      // tick it
};

State Decode(std::uint32_t word);

// Reads one word from `fd`: exactly four bytes, across EINTR and short reads.
// End of input or an error before four bytes have arrived gives 0, the word
// of a box the parent did not describe.
std::uint32_t ReadWord(int fd);

} // namespace CheckBoxControl

#endif
