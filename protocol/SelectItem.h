/*
 * SelectItem: the container record of "VTSelectContainer", both directions.
 *
 * The parent writes a 32-bit record count in host byte order, then that many
 * 1538-byte records; the helper answers with one record of the same form.
 * Texts are zero-terminated within their fields: the friendly name in the
 * provider's code page on input and in UTF-8 in the answer, the unique and
 * primary names as the parent sent them. `reserved` travels untouched on
 * input and stays zero in the answer, as does the answer's `unique_name`.
 */
#ifndef XVTUI_PROTOCOL_SELECTITEM_H
#define XVTUI_PROTOCOL_SELECTITEM_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>

#include "protocol/Pipe.h"

namespace xvtui::protocol {

struct VTUISelectItem_ {
    char friendly_name[256];
    char unique_name[512];
    char primary_name[768];
    unsigned char reserved[2];
};

inline constexpr std::size_t kSelectItemSize = 1538;

static_assert(sizeof(VTUISelectItem_) == kSelectItemSize);
static_assert(alignof(VTUISelectItem_) == 1);
static_assert(offsetof(VTUISelectItem_, friendly_name) == 0);
static_assert(offsetof(VTUISelectItem_, unique_name) == 256);
static_assert(offsetof(VTUISelectItem_, primary_name) == 768);
static_assert(offsetof(VTUISelectItem_, reserved) == 1536);

// A field's text: its bytes up to the first zero, or the whole field when
// the parent left no zero in it.
template <std::size_t N>
std::string_view FieldText(const char (&field)[N]) noexcept
{
    std::size_t length = 0;
    while (length < N && field[length] != '\0')
        ++length;
    return {field, length};
}

// Copies `text` to the start of `field`, cut to leave at least one zero after
// it; the rest of the field keeps what it held.
void CopyClipped(char* field, std::size_t fieldSize, std::string_view text) noexcept;
template <std::size_t N>
void CopyClipped(char (&field)[N], std::string_view text) noexcept
{
    CopyClipped(field, N, text);
}

// The count and the records, read whole. The list ends at the count, or
// earlier where the input ends or fails (a record cut short is dropped):
// memory grows with the records received, never with the count.
std::deque<VTUISelectItem_> ReadSelectItems(const Pipe& pipe);

// The answer for a chosen row: zero-filled, the friendly name (UTF-8) and the
// primary name copied in clipped, everything else zero.
VTUISelectItem_ SelectAnswer(std::string_view friendlyName, std::string_view primaryName) noexcept;

// Writes one record whole; false when the reader is gone or the write failed.
bool WriteSelectItem(const Pipe& pipe, const VTUISelectItem_& item) noexcept;

} // namespace xvtui::protocol

#endif
