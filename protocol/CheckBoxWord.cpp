#include "protocol/CheckBoxWord.h"

namespace xvtui::protocol {

CheckBoxState DecodeCheckBoxWord(std::uint32_t word)
{
    CheckBoxState state;
    if ((word & CBF_VISIBLE) == 0) {
        state.hide = true;
        return state;
    }
    state.insensitive = (word & CBF_CHANGEABLE) == 0;
    state.active = (word & CBF_CHECKED) != 0;
    return state;
}

CheckBoxWords ReadCheckBoxWords(const Pipe& pipe)
{
    CheckBoxWords words;
    words.savePassword = pipe.ReadWord().value_or(0);
    words.dontCache = pipe.ReadWord().value_or(0);
    return words;
}

} // namespace xvtui::protocol
