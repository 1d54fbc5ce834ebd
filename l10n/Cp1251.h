/*
 * Cp1251.h: Russian texts readable in the source, stored as CP1251 bytes.
 *
 * Usage:
 *
 *     #include "l10n/Cp1251.h"
 *     LocalizedText BaseDialog::m_cancelTerm{"Cancel", CP1251_TEXT("Отмена")};
 *
 * CP1251_TEXT(literal) takes a UTF-8 string literal ("..." in a UTF-8 source,
 * or u8"...") and yields a std::string of its CP1251 bytes, without the
 * terminating zero. The conversion runs in the compiler: a character that
 * CP1251 lacks (Chinese, most accents, emoji, ...), a malformed UTF-8
 * sequence or a zero byte inside the literal is a COMPILE error, reported as
 * a call to Cp1251::detail::character_has_no_cp1251_byte,
 * utf8_literal_is_malformed or literal_contains_zero_byte.
 *
 * Accepted: ASCII, the whole Cyrillic alphabet А-я with Ёё, and every other
 * character of CP1251 (« » — – … № „ “ ” ‘ ’ • ° € ™, no-break space, the
 * Ukrainian and Belarusian letters, ...).
 *
 * Cp1251::Encode(literal) is the consteval function behind the macro (it
 * returns a fixed-size Cp1251::Bytes); Cp1251::FromCodePoint is the table,
 * usable at run time too.
 */
#ifndef XVTUI_L10N_CP1251_H
#define XVTUI_L10N_CP1251_H

#include <cstddef>
#include <string>

namespace Cp1251 {

// The CP1251 byte of Unicode code point `cp`, or -1 when CP1251 has none.
constexpr int FromCodePoint(char32_t cp)
{
    if (cp < 0x80) {
        return static_cast<int>(cp);
    }
    if (cp >= 0x0410 && cp <= 0x044F) { // А-Я а-я
        return static_cast<int>(cp - 0x0410 + 0xC0);
    }
    // Bytes 0x80-0xBF, in order; 0 marks the one byte (0x98) without a character.
    constexpr char32_t upper[64] = {
        0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021,
        0x20AC, 0x2030, 0x0409, 0x2039, 0x040A, 0x040C, 0x040B, 0x040F,
        0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
        0x0000, 0x2122, 0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F,
        0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6, 0x00A7,
        0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407,
        0x00B0, 0x00B1, 0x0406, 0x0456, 0x0491, 0x00B5, 0x00B6, 0x00B7,
        0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457,
    };
    for (int i = 0; i < 64; ++i) {
        if (upper[i] == cp) {
            return 0x80 + i;
        }
    }
    return -1;
}

// The bytes of an encoded literal; at most as many as the literal's UTF-8 bytes.
template <std::size_t N>
struct Bytes {
    char data[N] {};
    std::size_t size = 0;
};

namespace detail {
// Never called at run time: reaching one of these while the compiler evaluates
// Encode makes the program ill-formed, and its name is the error message.
inline void character_has_no_cp1251_byte() {}
inline void utf8_literal_is_malformed() {}
inline void literal_contains_zero_byte() {}

template <typename Char, std::size_t N>
consteval Bytes<N> EncodeUtf8(const Char (&utf8)[N])
{
    Bytes<N> out;
    std::size_t i = 0;
    const std::size_t end = N - 1; // the literal's terminating zero is not text
    while (i < end) {
        const unsigned lead = static_cast<unsigned char>(utf8[i]);
        char32_t cp = 0;
        std::size_t length = 0;
        if (lead == 0) {
            literal_contains_zero_byte();
        } else if (lead < 0x80) {
            cp = lead;
            length = 1;
        } else if ((lead & 0xE0) == 0xC0) {
            cp = lead & 0x1F;
            length = 2;
        } else if ((lead & 0xF0) == 0xE0) {
            cp = lead & 0x0F;
            length = 3;
        } else if ((lead & 0xF8) == 0xF0) {
            cp = lead & 0x07;
            length = 4;
        } else {
            utf8_literal_is_malformed();
        }
        if (i + length > end) {
            utf8_literal_is_malformed();
        }
        for (std::size_t k = 1; k < length; ++k) {
            const unsigned next = static_cast<unsigned char>(utf8[i + k]);
            if ((next & 0xC0) != 0x80) {
                utf8_literal_is_malformed();
            }
            cp = (cp << 6) | (next & 0x3F);
        }
        const int byte = FromCodePoint(cp);
        // Overlong forms (a Cyrillic letter in three bytes, ASCII in two) are malformed.
        const std::size_t shortest = cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
        if (length != shortest) {
            utf8_literal_is_malformed();
        }
        if (byte < 0) {
            character_has_no_cp1251_byte();
        }
        out.data[out.size++] = static_cast<char>(byte);
        i += length;
    }
    return out;
}
} // namespace detail

// A UTF-8 string literal converted to CP1251 by the compiler.
template <std::size_t N>
consteval Bytes<N> Encode(const char (&utf8)[N])
{
    return detail::EncodeUtf8(utf8);
}
template <std::size_t N>
consteval Bytes<N> Encode(const char8_t (&utf8)[N])
{
    return detail::EncodeUtf8(utf8);
}

template <std::size_t N>
std::string ToString(const Bytes<N>& bytes)
{
    return std::string(bytes.data, bytes.size);
}

} // namespace Cp1251

// A std::string holding the CP1251 bytes of a UTF-8 string literal.
#define CP1251_TEXT(utf8Literal) (::Cp1251::ToString(::Cp1251::Encode(utf8Literal)))

#endif
