// The settings reader: a settings file of any bytes, asked for a few values.
// The input's first line is a value path, the rest the file. Every answer is
// one of the documented codes, a value is stored only with 0, and the same
// question gets the same answer.
#include "FuzzInput.h"

#include "torvik.h"

#include <cstdlib>
#include <string>

namespace {

fuzz::MemoryFile& SettingsFile()
{
    static fuzz::MemoryFile file;
    return file;
}

bool Documented(unsigned int code)
{
    return code == 0 || code == TORVIK_ERROR_FILE_NOT_FOUND || code == TORVIK_ERROR_ACCESS_DENIED ||
           code == TORVIK_ERROR_INVALID_DATA || code == TORVIK_ERROR_INVALID_PARAMETER;
}

void Ask(const char* path)
{
    constexpr long kUntouched = 0x5a5a5a5a;
    long value = kUntouched;
    const unsigned int code = support_registry_get_long(path, &value);
    fuzz::Check(Documented(code));
    if (code != 0)
        fuzz::Check(value == kUntouched);
    long again = kUntouched;
    fuzz::Check(support_registry_get_long(path, &again) == code && again == value);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    const std::string path = "/proc/self/fd/" + std::to_string(SettingsFile().Fd());
    setenv("TORVIK_LOCAL_CONFIG", path.c_str(), 1);
    setenv("TORVIK_GLOBAL_CONFIG", path.c_str(), 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t lineEnd = input.find('\n');
    const std::string path = input.substr(0, lineEnd);
    const std::string contents = lineEnd == std::string::npos ? std::string() : input.substr(lineEnd + 1);
    SettingsFile().Fill(reinterpret_cast<const std::uint8_t*>(contents.data()), contents.size());

    Ask(path.c_str());
    Ask("\\local\\KeyDevices\\passwd_time");
    Ask("\\global\\KeyDevices\\choice_time");
    Ask(nullptr);
    return 0;
}
