// The font configuration read ahead in a thread: the same fonts as
// fontconfig's own start chooses, without its description-only reading, and
// never a second configuration under a font map that exists. Each case runs
// in a child process: fontconfig reads its configuration once per process.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>

#include "base/FontPreload.h"
#include "common/Sandbox.h"
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

// The fonts fontconfig's own start chooses and those the preload's
// configuration chooses, each in a child with `env` (FONTCONFIG_FILE, say).
struct Outcome {
    std::string own;
    std::string preloaded;
};

Outcome Compare(const std::map<std::string, std::string>& env)
{
    return {testkit::RunInChild(env,
                                [] {
                                    FcInit();
                                    return Choices();
                                }),
            testkit::RunInChild(env, [] {
                FontPreload preload;
                preload.Start();
                if (!preload.Started())
                    return std::string("not started");
                preload.Wait();
                return Choices() + "description-only files: " + std::to_string(DescriptionOnlyFiles());
            })};
}

TEST(FontPreload, ChoosesWhatFontconfigsOwnStartChooses)
{
    const Outcome outcome = Compare({});
    ASSERT_EQ(outcome.own.find("CHILD FAILED"), std::string::npos) << outcome.own;
    EXPECT_EQ(outcome.preloaded, outcome.own + "description-only files: 0");
}

TEST(FontPreload, LeavesABrokenConfigurationToFontconfig)
{
    // fontconfig mends each of these with its built-in configuration; the
    // preload must not install the half it could read.
    const struct {
        const char* what;
        const char* file; // nullptr: a file that does not exist
        std::string contents;
    } cases[] = {
        {"no file", nullptr, ""},
        {"cut short after its cache directory", "cut.conf",
         "<?xml version=\"1.0\"?>\n<fontconfig><dir>/usr/share/fonts</dir>"
         "<cachedir>/var/cache/fontconfig</cachedir><match"},
    };
    testkit::Sandbox files;
    for (const auto& c : cases) {
        std::string path = files.Path("missing.conf");
        if (c.file != nullptr) {
            files.WriteFile(c.file, c.contents);
            path = files.Path(c.file);
        }
        const Outcome outcome = Compare({{"FONTCONFIG_FILE", path}});
        // Whatever fontconfig's own start makes of it, the dialogs get the same.
        const std::size_t end = outcome.preloaded.rfind("description-only files: ");
        EXPECT_EQ(outcome.preloaded.substr(0, end), outcome.own) << c.what;
    }
}

TEST(FontPreload, NeverUnderAFontMapThatExists)
{
    const std::string text = testkit::RunInChild({}, [] {
        pango_cairo_font_map_get_default();
        FontPreload preload;
        preload.Start();
        return std::string(preload.Started() ? "started" : "not started");
    });
    EXPECT_EQ(text, "not started");
}

} // namespace
