// Code-page conversion between the provider's numbered code pages and wchar_t,
// through glibc's iconv. Input that has no character on the other side fails
// the whole call: nothing is ever replaced by a substitute character.

#include "torvik.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <iconv.h>
#include <type_traits>

static_assert(sizeof(wchar_t) == 4, "wide strings are UTF-32");

namespace {

constexpr const char* kWide = "WCHAR_T";

// glibc's UTF-8 codec passes values above U+10FFFF both ways; they are no
// characters, so the wide side is checked here as well.
bool isCharacter(wchar_t c)
{
    const auto value = static_cast<unsigned long>(static_cast<uint32_t>(c));
    return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

bool allCharacters(const char* bytes, size_t size)
{
    for (size_t i = 0; i + sizeof(wchar_t) <= size; i += sizeof(wchar_t)) {
        wchar_t c;
        std::memcpy(&c, bytes + i, sizeof c);
        if (!isCharacter(c))
            return false;
    }
    return true;
}

const char* charsetOf(unsigned int codePage)
{
    switch (codePage) {
    case TORVIK_CP_DEFAULT:
    case 1251: return "CP1251";
    case 866: return "CP866";
    case 20866: return "KOI8-R";
    case 28595: return "ISO-8859-5";
    case TORVIK_CP_UTF8: return "UTF-8";
    default: return nullptr;
    }
}

class Converter {
public:
    Converter(const char* to, const char* from, bool wideOutput)
        : m_cd(iconv_open(to, from)), m_wideOutput(wideOutput)
    {
    }
    ~Converter()
    {
        if (ok())
            iconv_close(m_cd);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool ok() const { return m_cd != reinterpret_cast<iconv_t>(-1); }

    // Converts all of [source, source + sourceBytes). With a null target only
    // counts the output bytes. Returns the output size, or -1 on invalid or
    // truncated input or when the output does not fit in targetBytes.
    long long run(const char* source, size_t sourceBytes, char* target, size_t targetBytes)
    {
        char* in = const_cast<char*>(source);
        size_t inLeft = sourceBytes;
        long long produced = 0;
        char scratch[1024];
        for (;;) {
            char* out = target != nullptr ? target + produced : scratch;
            size_t outLeft = target != nullptr ? targetBytes - static_cast<size_t>(produced)
                                               : sizeof scratch;
            const size_t before = outLeft;
            const char* chunk = out;
            const size_t rc = iconv(m_cd, &in, &inLeft, &out, &outLeft);
            produced += static_cast<long long>(before - outLeft);
            // iconv writes whole characters, and the scratch size is a multiple of one.
            if (m_wideOutput && !allCharacters(chunk, before - outLeft)) {
                errno = EILSEQ;
                return -1;
            }
            if (rc != static_cast<size_t>(-1))
                break; // all input converted; none of these code pages keeps a shift state
            if (errno == E2BIG && target == nullptr)
                continue; // measuring: reuse the scratch buffer
            return -1;    // EILSEQ, EINVAL (truncated) or E2BIG into the caller's buffer
        }
        return produced;
    }

private:
    iconv_t m_cd;
    bool m_wideOutput;
};

// Common frame of both directions: argument checks, the -1 length, the call.
// `onePerUnit`: the code page has one byte per character, so every source
// unit must give exactly one target unit. glibc's converters to such code
// pages silently skip some characters they lack (the Unicode tag characters
// U+E0000 to U+E007F); the count catches that and any other dropped unit.
template <typename From, typename To>
int convert(const char* toCharset, const char* fromCharset, const From* source, int sourceLength,
            To* target, int targetLength, bool onePerUnit)
{
    if (toCharset == nullptr || fromCharset == nullptr || source == nullptr ||
        sourceLength == 0 || sourceLength < -1 || targetLength < 0 ||
        (targetLength > 0 && target == nullptr)) {
        errno = EINVAL;
        return 0;
    }
    size_t count;
    if (sourceLength == -1) {
        count = 0;
        while (source[count] != From(0))
            ++count;
        ++count; // the terminator is converted and counted too
        if (count > static_cast<size_t>(INT_MAX)) {
            errno = EOVERFLOW;
            return 0;
        }
    } else {
        count = static_cast<size_t>(sourceLength);
    }

    if constexpr (std::is_same_v<From, wchar_t>) {
        for (size_t i = 0; i < count; ++i) {
            if (!isCharacter(static_cast<wchar_t>(source[i]))) {
                errno = EILSEQ;
                return 0;
            }
        }
    }
    Converter converter(toCharset, fromCharset, std::is_same_v<To, wchar_t>);
    if (!converter.ok())
        return 0;
    const long long bytes =
        converter.run(reinterpret_cast<const char*>(source), count * sizeof(From),
                      targetLength > 0 ? reinterpret_cast<char*>(target) : nullptr,
                      static_cast<size_t>(targetLength) * sizeof(To));
    if (bytes < 0)
        return 0;
    const long long units = bytes / static_cast<long long>(sizeof(To));
    if (onePerUnit && units != static_cast<long long>(count)) {
        errno = EILSEQ;
        return 0;
    }
    if (units == 0 || units > INT_MAX) {
        errno = EOVERFLOW;
        return 0;
    }
    return static_cast<int>(units);
}

} // namespace

extern "C" {

int MultiByteToWideChar(unsigned int codePage, unsigned long /*flags*/, const char* source,
                        int sourceLength, wchar_t* target, int targetLength)
{
    return convert(kWide, charsetOf(codePage), source, sourceLength, target, targetLength,
                   codePage != TORVIK_CP_UTF8);
}

int WideCharToMultiByte(unsigned int codePage, unsigned long /*flags*/, const wchar_t* source,
                        int sourceLength, char* target, int targetLength,
                        const char* /*defaultChar*/, int* usedDefaultChar)
{
    // Nothing is ever substituted, whatever default character the caller offers.
    if (usedDefaultChar != nullptr)
        *usedDefaultChar = 0;
    return convert(charsetOf(codePage), kWide, source, sourceLength, target, targetLength,
                   codePage != TORVIK_CP_UTF8);
}

} // extern "C"
