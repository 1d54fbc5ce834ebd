#include "base/GetTimeout.h"

#include "support/torvik.h"

namespace {

bool ReadSetting(const std::string& path, unsigned int& seconds)
{
    long value = 0;
    if (support_registry_get_long(path.c_str(), &value) != 0)
        return false;
    seconds = static_cast<unsigned int>(value); // low 32 bits, -1 as 4294967295
    return true;
}

} // namespace

unsigned int GetTimeout(const std::string& name, unsigned int defaultValue)
{
    unsigned int seconds = defaultValue;
    if (ReadSetting("\\local\\KeyDevices\\" + name, seconds))
        return seconds;
    if (ReadSetting("\\global\\KeyDevices\\" + name, seconds))
        return seconds;
    return defaultValue;
}
