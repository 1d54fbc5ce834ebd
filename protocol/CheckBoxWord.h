/*
 * The control words of the one-entry password dialog's two check boxes, as
 * the parent sends them on standard input before anything else: two 32-bit
 * words (Word.h), the save-password box's first. Only the three bits below
 * count.
 */
#ifndef XVTUI_PROTOCOL_CHECKBOXWORD_H
#define XVTUI_PROTOCOL_CHECKBOXWORD_H

#include <cstdint>

#include "protocol/Pipe.h"

namespace xvtui::protocol {

inline constexpr std::uint32_t CBF_VISIBLE = 0x1;    // shown; without it the other bits are not looked at
inline constexpr std::uint32_t CBF_CHANGEABLE = 0x2; // the user may toggle it (else greyed and fixed)
inline constexpr std::uint32_t CBF_CHECKED = 0x4;    // starts ticked

// What a word asks of its box at set-up. A hidden box comes back with the
// window's show-all, changeable and unticked: that is what the parent gets
// for a word without CBF_VISIBLE.
struct CheckBoxState {
    bool hide = false;        // hide the box (nothing else applies)
    bool insensitive = false; // grey it out
    bool active = false;      // tick it
};

CheckBoxState DecodeCheckBoxWord(std::uint32_t word);

struct CheckBoxWords {
    std::uint32_t savePassword = 0;
    std::uint32_t dontCache = 0;
};

// Both words, in order. A word that does not arrive whole (the input ended or
// failed) is 0, the word of a box the parent did not describe.
CheckBoxWords ReadCheckBoxWords(const Pipe& pipe);

} // namespace xvtui::protocol

#endif
