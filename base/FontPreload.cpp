#include "base/FontPreload.h"

#include <system_error>

#include <fontconfig/fontconfig.h>
#include <glib-object.h>

namespace {

bool HasCacheDirectory(FcConfig* config)
{
    FcStrList* dirs = FcConfigGetCacheDirs(config);
    if (dirs == nullptr)
        return false;
    const bool any = FcStrListNext(dirs) != nullptr;
    FcStrListDone(dirs);
    return any;
}

// What fontconfig's own start does, less the template directory's
// descriptions. A configuration that fontconfig would have to mend (no file,
// no cache directory) is left to fontconfig, which then warns once.
void LoadConfiguration()
{
    FcConfig* config = FcConfigCreate();
    if (config == nullptr)
        return;
    if (FcConfigParseAndLoad(config, nullptr, FcFalse) && HasCacheDirectory(config) && FcConfigBuildFonts(config))
        FcConfigSetCurrent(config); // takes its own reference
    FcConfigDestroy(config);
}

// A font map exists once any text was measured in this process; its
// configuration must not be replaced under it.
bool FontsInUse()
{
    return g_type_from_name("PangoFcFontMap") != 0;
}

} // namespace

FontPreload::FontPreload()
{
    if (FontsInUse())
        return;
    try {
        m_thread = std::thread(LoadConfiguration);
        m_started = true;
    } catch (const std::system_error&) {
        // No thread: fontconfig reads the configuration when it is first needed.
    }
}

FontPreload::~FontPreload()
{
    Wait();
}

void FontPreload::Wait()
{
    if (m_thread.joinable())
        m_thread.join();
}
