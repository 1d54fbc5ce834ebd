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
// a file that does not parse, no cache directory) is left to fontconfig,
// which then mends it as it always does.
void LoadConfiguration()
{
    FcConfig* config = FcConfigCreate();
    if (config == nullptr)
        return;
    // Only a file that exists is parsed, and then with complaints on: that
    // is the parse that reports whether the file was understood.
    FcChar8* file = FcConfigGetFilename(config, nullptr);
    if (file != nullptr && FcConfigParseAndLoad(config, nullptr, FcTrue) && HasCacheDirectory(config) &&
        FcConfigBuildFonts(config))
        FcConfigSetCurrent(config); // takes its own reference
    FcStrFree(file);
    FcConfigDestroy(config);
}

// A font map exists once any text was measured in this process; its
// configuration must not be replaced under it. (The dialogs use fontconfig
// only through Pango, so no other user can have started it.)
bool FontsInUse()
{
    return g_type_from_name("PangoFcFontMap") != 0;
}

} // namespace

void FontPreload::Start()
{
    if (m_started || FontsInUse())
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
