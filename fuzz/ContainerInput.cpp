// The container dialog's input: a record count and records, any bytes, read
// as the dialog reads them, then each record's texts taken out and a chosen
// one answered. The list ends at the count or at the last whole record, each
// record is the bytes sent, a field's text stays within its field and holds
// no zero, and the answer carries the texts cut to leave a zero in their
// fields and nothing else.
#include "FuzzInput.h"

#include "protocol/SelectItem.h"

#include <algorithm>
#include <cstring>

namespace {

template <std::size_t N>
std::string_view CheckedText(const char (&field)[N])
{
    const std::string_view text = xvtui::protocol::FieldText(field);
    fuzz::Check(text.size() <= N && text.find('\0') == std::string_view::npos);
    return text;
}

template <std::size_t N>
void CheckClipped(const char (&field)[N], std::string_view text)
{
    const std::size_t kept = std::min(text.size(), N - 1);
    fuzz::Check(kept == 0 || std::memcmp(field, text.data(), kept) == 0);
    for (std::size_t i = kept; i < N; ++i)
        fuzz::Check(field[i] == '\0');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace xvtui::protocol;
    static fuzz::MemoryFile input;
    const std::deque<VTUISelectItem_> items = ReadSelectItems(Pipe(input.Fill(data, size), -1));

    std::uint32_t count = 0;
    if (size >= sizeof count)
        std::memcpy(&count, data, sizeof count);
    const std::size_t whole = size >= sizeof count ? (size - sizeof count) / kSelectItemSize : 0;
    fuzz::Check(items.size() == std::min<std::size_t>(count, whole));

    const std::uint8_t* record = data + sizeof count;
    for (const VTUISelectItem_& item : items) {
        fuzz::Check(std::memcmp(&item, record, kSelectItemSize) == 0);
        record += kSelectItemSize;
        const std::string_view friendly = CheckedText(item.friendly_name);
        const std::string_view primary = CheckedText(item.primary_name);
        CheckedText(item.unique_name);

        // Answered with the names as they came (a text may be longer than
        // the answer's field when the parent left no zero in it).
        const VTUISelectItem_ answer = SelectAnswer(friendly, primary);
        CheckClipped(answer.friendly_name, friendly);
        CheckClipped(answer.primary_name, primary);
        CheckClipped(answer.unique_name, {});
        fuzz::Check(answer.reserved[0] == 0 && answer.reserved[1] == 0);
    }
    return 0;
}
