// Strings for secrets, kept in locked, wiped blocks (SecureMemory.h).
//
// Unlike std::string there is no small-string buffer inside the object: every
// character, however short the text, lives in a secure block. Bytes that a
// shrinking operation (clear, assign of a shorter text, resize) leaves behind are
// wiped at once, and a block is wiped before it is given back, also when the
// string grows into a new one. The text is always followed by a NUL, so c_str()
// can be passed to C code.
//
// Converting a secure string into a std::string makes an unprotected copy: do
// not. Use view() or c_str() for reading.
#ifndef XVTUI_BASE_SECURE_SECURESTRING_H
#define XVTUI_BASE_SECURE_SECURESTRING_H

#include "base/secure/SecureMemory.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace secure {

template <class CharT>
class BasicString {
public:
    using value_type = CharT;
    using size_type = std::size_t;
    using view_type = std::basic_string_view<CharT>;

    BasicString() noexcept = default;
    explicit BasicString(view_type text) { assign(text); }
    BasicString(const CharT* text, size_type length) { assign(text, length); }
    BasicString(const BasicString& other) { assign(other.view()); }
    BasicString(BasicString&& other) noexcept { Swap(other); }
    ~BasicString() { Free(); }

    BasicString& operator=(const BasicString& other)
    {
        if (this != &other) {
            assign(other.view());
        }
        return *this;
    }
    BasicString& operator=(BasicString&& other) noexcept
    {
        if (this != &other) {
            Free();
            Swap(other);
        }
        return *this;
    }

    // Never null: an empty string without a block reads as "".
    const CharT* c_str() const noexcept { return m_data != nullptr ? m_data : EmptyText(); }
    const CharT* data() const noexcept { return c_str(); }
    // Writable only where a block exists (after reserve or resize); an empty
    // string without one returns a shared read-only "".
    CharT* data() noexcept { return m_data != nullptr ? m_data : const_cast<CharT*>(EmptyText()); }
    size_type size() const noexcept { return m_size; }
    size_type length() const noexcept { return m_size; }
    size_type capacity() const noexcept { return m_capacity; }
    bool empty() const noexcept { return m_size == 0; }
    view_type view() const noexcept { return view_type(c_str(), m_size); }
    CharT operator[](size_type index) const noexcept { return m_data[index]; }
    CharT& operator[](size_type index) noexcept { return m_data[index]; }

    // Makes room for `count` characters plus the terminator, moving the text
    // into a larger block (and wiping the old one) when needed.
    void reserve(size_type count)
    {
        if (count <= m_capacity && m_data != nullptr) {
            return;
        }
        if (count >= MaxSize()) {
            throw std::length_error("secure string too long");
        }
        size_type wanted = count + 1;
        if (m_capacity != 0 && wanted < 2 * (m_capacity + 1) && m_capacity < MaxSize() / 4) {
            wanted = 2 * (m_capacity + 1);
        }
        // The block is a page multiple: use all of it.
        const size_type bytes = BlockSize(wanted * sizeof(CharT));
        CharT* block = static_cast<CharT*>(Allocate(bytes));
        if (m_size != 0) {
            std::memcpy(block, m_data, m_size * sizeof(CharT));
        }
        block[m_size] = CharT();
        Release(m_data, (m_capacity + 1) * sizeof(CharT));
        m_data = block;
        m_capacity = bytes / sizeof(CharT) - 1;
    }

    BasicString& assign(view_type text)
    {
        if (Overlaps(text)) {
            BasicString copy(text);
            return *this = std::move(copy);
        }
        if (m_data == nullptr || text.size() > m_capacity) {
            clear(); // nothing of the old text is carried into the new block
            reserve(text.size());
        }
        const size_type oldSize = m_size;
        if (!text.empty()) {
            std::memcpy(m_data, text.data(), text.size() * sizeof(CharT));
        }
        m_size = text.size();
        m_data[m_size] = CharT();
        if (oldSize > m_size) {
            Wipe(m_data + m_size + 1, (oldSize - m_size) * sizeof(CharT));
        }
        return *this;
    }
    BasicString& assign(const CharT* text, size_type length) { return assign(view_type(text, length)); }

    BasicString& append(view_type text)
    {
        if (text.empty()) {
            return *this;
        }
        if (text.size() >= MaxSize() - m_size) {
            throw std::length_error("secure string too long");
        }
        if (Overlaps(text)) {
            BasicString copy(text);
            return append(copy.view());
        }
        reserve(m_size + text.size());
        std::memcpy(m_data + m_size, text.data(), text.size() * sizeof(CharT));
        m_size += text.size();
        m_data[m_size] = CharT();
        return *this;
    }
    BasicString& append(const CharT* text, size_type length) { return append(view_type(text, length)); }
    BasicString& append(const BasicString& text) { return append(text.view()); }
    void push_back(CharT character) { append(view_type(&character, 1)); }

    // Changes the length; new characters are NUL, dropped ones are wiped.
    // Afterwards the string always has a block, so data() may be written to
    // for size() + 1 characters.
    void resize(size_type count)
    {
        reserve(count);
        if (count > m_size) {
            std::memset(m_data + m_size, 0, (count - m_size) * sizeof(CharT));
        } else {
            Wipe(m_data + count, (m_size - count) * sizeof(CharT));
        }
        m_size = count;
        m_data[m_size] = CharT();
    }

    // Wipes the text; the block is kept for reuse.
    void clear() noexcept
    {
        if (m_data != nullptr) {
            Wipe(m_data, m_size * sizeof(CharT));
        }
        m_size = 0;
    }

    friend bool operator==(const BasicString& left, const BasicString& right) noexcept
    {
        return left.view() == right.view();
    }
    friend bool operator==(const BasicString& left, view_type right) noexcept { return left.view() == right; }

private:
    static constexpr size_type MaxSize() noexcept { return (size_type(-1) / 2) / sizeof(CharT); }
    static const CharT* EmptyText() noexcept
    {
        static const CharT empty[1] = {CharT()};
        return empty;
    }
    bool Overlaps(view_type text) const noexcept
    {
        if (m_data == nullptr || text.empty()) {
            return false;
        }
        const auto* begin = reinterpret_cast<const unsigned char*>(m_data);
        const auto* end = begin + (m_capacity + 1) * sizeof(CharT);
        const auto* p = reinterpret_cast<const unsigned char*>(text.data());
        return !(p + text.size() * sizeof(CharT) <= begin || p >= end);
    }
    void Free() noexcept
    {
        if (m_data != nullptr) {
            Release(m_data, (m_capacity + 1) * sizeof(CharT));
        }
        m_data = nullptr;
        m_size = 0;
        m_capacity = 0;
    }
    void Swap(BasicString& other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
    }

    CharT* m_data = nullptr;   // block of m_capacity + 1 characters, or null
    size_type m_size = 0;      // characters before the terminator
    size_type m_capacity = 0;  // characters that fit before the terminator
};

using String = BasicString<char>;
using WString = BasicString<wchar_t>;

} // namespace secure

#endif
