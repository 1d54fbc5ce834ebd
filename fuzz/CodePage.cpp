// The code-page conversions: any bytes from any supported code page to wide
// characters and back, and any 32-bit values as wide characters. A measured
// size is the size converted, one unit less fails, and whatever converts
// comes back to the same bytes (every supported code page maps each of its
// characters to one code point of its own).
#include "FuzzInput.h"

#include "torvik.h"

#include <cstring>

namespace {

constexpr unsigned int kCodePages[] = {0, 1251, 866, 20866, 28595, 65001, 437};

void FromBytes(unsigned int codePage, const char* bytes, int length)
{
    const int units = MultiByteToWideChar(codePage, 0, bytes, length, nullptr, 0);
    if (units == 0)
        return;
    fuzz::Check(units > 0);
    std::vector<wchar_t> wide(static_cast<std::size_t>(units));
    fuzz::Check(MultiByteToWideChar(codePage, 0, bytes, length, wide.data(), units) == units);
    if (units > 1)
        fuzz::Check(MultiByteToWideChar(codePage, 0, bytes, length, wide.data(), units - 1) == 0);

    const int back = WideCharToMultiByte(codePage, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
    const std::size_t expected = length == -1 ? std::strlen(bytes) + 1 : static_cast<std::size_t>(length);
    fuzz::Check(back == static_cast<int>(expected));
    std::vector<char> again(expected);
    int usedDefault = 1;
    fuzz::Check(WideCharToMultiByte(codePage, 0, wide.data(), units, again.data(), back, "?", &usedDefault) == back);
    fuzz::Check(usedDefault == 0 && std::memcmp(again.data(), bytes, expected) == 0);
}

void FromWide(unsigned int codePage, const wchar_t* wide, int units)
{
    const int bytes = WideCharToMultiByte(codePage, 0, wide, units, nullptr, 0, nullptr, nullptr);
    if (bytes == 0)
        return;
    fuzz::Check(bytes > 0);
    std::vector<char> narrow(static_cast<std::size_t>(bytes));
    fuzz::Check(WideCharToMultiByte(codePage, 0, wide, units, narrow.data(), bytes, nullptr, nullptr) == bytes);
    if (bytes > 1)
        fuzz::Check(WideCharToMultiByte(codePage, 0, wide, units, narrow.data(), bytes - 1, nullptr, nullptr) == 0);
    std::vector<wchar_t> again(static_cast<std::size_t>(units));
    fuzz::Check(MultiByteToWideChar(codePage, 0, narrow.data(), bytes, again.data(), units) == units);
    fuzz::Check(std::memcmp(again.data(), wide, static_cast<std::size_t>(units) * sizeof(wchar_t)) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 1)
        return 0;
    const unsigned int codePage = kCodePages[data[0] % std::size(kCodePages)];
    const bool terminated = (data[0] & 0x80) != 0;
    const std::string bytes(reinterpret_cast<const char*>(data + 1), size - 1);
    if (!bytes.empty())
        FromBytes(codePage, bytes.c_str(), static_cast<int>(bytes.size()));
    if (terminated)
        FromBytes(codePage, bytes.c_str(), -1);

    std::vector<wchar_t> wide(bytes.size() / sizeof(wchar_t));
    if (!wide.empty()) {
        std::memcpy(wide.data(), bytes.data(), wide.size() * sizeof(wchar_t));
        FromWide(codePage, wide.data(), static_cast<int>(wide.size()));
    }
    return 0;
}
