#include "protocol/SelectItem.h"

#include <algorithm>
#include <cstring>

namespace xvtui::protocol {

void CopyClipped(char* field, std::size_t fieldSize, std::string_view text) noexcept
{
    if (fieldSize == 0)
        return;
    const std::size_t length = std::min(text.size(), fieldSize - 1);
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

std::deque<VTUISelectItem_> ReadSelectItems(const Pipe& pipe)
{
    std::deque<VTUISelectItem_> items;
    const std::optional<std::uint32_t> count = pipe.ReadWord();
    if (!count)
        return items;
    VTUISelectItem_ record;
    for (std::uint32_t i = 0; i < *count; ++i) {
        if (!pipe.ReadExactly(&record, sizeof record))
            break;
        items.push_back(record);
    }
    return items;
}

VTUISelectItem_ SelectAnswer(std::string_view friendlyName, std::string_view primaryName) noexcept
{
    VTUISelectItem_ answer{};
    CopyClipped(answer.friendly_name, friendlyName);
    CopyClipped(answer.primary_name, primaryName);
    return answer;
}

bool WriteSelectItem(const Pipe& pipe, const VTUISelectItem_& item) noexcept
{
    return pipe.Write(&item, sizeof item);
}

} // namespace xvtui::protocol
