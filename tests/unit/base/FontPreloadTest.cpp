// The font configuration read ahead in a thread: the same fonts as
// fontconfig's own start chooses, without its description-only reading, and
// never a second configuration under a font map that exists. Each case runs
// in a child process: fontconfig reads its configuration once per process.
#include <gtest/gtest.h>

#include <string>

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>

#include "base/FontPreload.h"
#include "common/UnitKit.h"

namespace {

// The fonts chosen for a few requests, with every property fontconfig
// reports, and how many configuration files were read only for their
// descriptions.
std::string Choices()
{
    std::string text;
    for (const char* request : {"Sans-10", "Serif:lang=ru", "Monospace:bold", "Sans:lang=he"}) {
        FcPattern* pattern = FcNameParse(reinterpret_cast<const FcChar8*>(request));
        FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
        FcDefaultSubstitute(pattern);
        FcResult result = FcResultNoMatch;
        FcPattern* match = FcFontMatch(nullptr, pattern, &result);
        FcChar8* name = match != nullptr ? FcNameUnparse(match) : nullptr;
        text += std::string(request) + " -> " + (name != nullptr ? reinterpret_cast<char*>(name) : "none") + "\n";
        FcStrFree(name);
        if (match != nullptr)
            FcPatternDestroy(match);
        FcPatternDestroy(pattern);
    }
    return text;
}

int DescriptionOnlyFiles()
{
    FcConfig* config = FcConfigGetCurrent();
    FcConfigFileInfoIter iter;
    FcConfigFileInfoIterInit(config, &iter);
    int count = 0;
    do {
        FcChar8* name = nullptr;
        FcChar8* description = nullptr;
        FcBool enabled = FcTrue;
        if (FcConfigFileInfoIterGet(config, &iter, &name, &description, &enabled) && !enabled)
            ++count;
        FcStrFree(name);
        FcStrFree(description);
    } while (FcConfigFileInfoIterNext(config, &iter));
    return count;
}

TEST(FontPreload, ChoosesWhatFontconfigsOwnStartChooses)
{
    const std::string own = testkit::RunInChild({}, [] {
        FcInit();
        return Choices();
    });
    const std::string preloaded = testkit::RunInChild({}, [] {
        FontPreload preload;
        if (!preload.Started())
            return std::string("not started");
        preload.Wait();
        return Choices() + "description-only files: " + std::to_string(DescriptionOnlyFiles());
    });
    ASSERT_EQ(own.find("CHILD FAILED"), std::string::npos) << own;
    EXPECT_EQ(preloaded, own + "description-only files: 0");
}

TEST(FontPreload, LeavesABrokenConfigurationToFontconfig)
{
    // No configuration file: fontconfig's own start mends it with its
    // built-in one, and a text still gets a font.
    const std::string text = testkit::RunInChild({{"FONTCONFIG_FILE", "/nonexistent/fonts.conf"}}, [] {
        FontPreload preload;
        preload.Wait();
        PangoFontMap* map = pango_cairo_font_map_get_default();
        PangoContext* context = pango_font_map_create_context(map);
        PangoLayout* layout = pango_layout_new(context);
        pango_layout_set_text(layout, "OK", -1);
        int width = 0;
        pango_layout_get_pixel_size(layout, &width, nullptr);
        g_object_unref(layout);
        g_object_unref(context);
        return std::string(preload.Started() ? "started, " : "not started, ") + (width > 0 ? "drawn" : "no width");
    });
    EXPECT_EQ(text, "started, drawn");
}

TEST(FontPreload, NeverUnderAFontMapThatExists)
{
    const std::string text = testkit::RunInChild({}, [] {
        pango_cairo_font_map_get_default();
        FontPreload preload;
        return std::string(preload.Started() ? "started" : "not started");
    });
    EXPECT_EQ(text, "not started");
}

} // namespace
