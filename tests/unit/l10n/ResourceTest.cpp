// Catalogue lookups through both resource descriptors, and the catalogues the build compiles.
#include "l10n/CSPLocalizer.h"
#include "l10n/VtuiLogic.h"
#include "Catalog.h"
#include "common/Sandbox.h"

#include <gtest/gtest.h>

#include <nl_types.h>

namespace {

constexpr unsigned kProbeId = 2118;

// Both descriptors' text kProbeId in a fresh process: "<first>|<second>", the
// second as "error untouched" when its lookup failed.
std::string BothDescriptors(const std::map<std::string, std::string>& env)
{
    return testkit::RunInChild(env, [] {
        std::string second = "untouched";
        const std::string first = CSPLocalizer().Localize(kProbeId); // the locale is recognised first
        const bool found = VtuiLogic::vtui_get_resource_string(kProbeId, second) == 0;
        return first + "|" + (found ? "" : "error ") + second;
    });
}

TEST(Catalogues, FirstDescriptorTriesEntry13InRussianThenEntry10SecondTheSearchPathThenEntry10)
{
    // Catalogues with different texts for one number, so that each result tells which file was opened.
    testkit::Sandbox box;
    for (const char* name : {"entry10", "entry13", "nlspath", "ru"})
        ASSERT_TRUE(CompileCatalog(box.Path(name), {{kProbeId, name}}));
    const std::string e10 = box.Path("entry10"), e13 = box.Path("entry13"), none = box.Path("none");
    const std::string nls = box.Path("nlspath/%N"), noNls = box.Path("none/%N"), byLanguage = box.Dir() + "/%l/%N";
    const std::tuple<const char*, std::string, std::string, std::string, std::string> cases[] = {
        // LANG, NLSPATH, entry 10, entry 13: first | second
        {"ru_RU.UTF-8", nls, e10, e13, "entry13|nlspath"},
        {"ru_RU.cp1251", noNls, e10, e13, "entry13|entry10"},
        {"ru_RU.UTF-8", byLanguage, e10, e13, "entry13|ru"}, // %l is the message locale's language
        {"ru_RU.UTF-8", noNls, e10, none, "entry10|entry10"}, // no Russian catalogue
        {"en_US.UTF-8", nls, e10, e13, "entry10|nlspath"},
        {"ru_RU.CP1251", noNls, e10, e13, "entry10|entry10"}, // not a recognised name
        {"ru_RU.UTF-8", noNls, none, e13, "entry13|error untouched"}, // entry 13 is never the second's
        {"en_US.UTF-8", noNls, none, e13, "|error untouched"},
        {"ru_RU.UTF-8", noNls, none, none, "|error untouched"},
    };
    for (const auto& [lang, nlspath, entry10, entry13, expected] : cases) {
        EXPECT_EQ(BothDescriptors({{"LANG", lang}, {"NLSPATH", nlspath}, {"TORVIK_CATALOG_DIR", entry10},
                                   {"TORVIK_LOCALE_CATALOG_DIR", entry13}}), expected)
            << lang << " NLSPATH=" << nlspath << " entry10=" << entry10 << " entry13=" << entry13;
    }
    // Unknown numbers: empty from the first, the fallback from the second.
    EXPECT_EQ(testkit::RunInChild({{"LANG", "en_US.UTF-8"}, {"NLSPATH", noNls}, {"TORVIK_CATALOG_DIR", e10}}, [] {
        return CSPLocalizer().Localize(9999) + "|" + CSPLocalizer().Localize(0x80000000u) + "|" +
               VtuiLogic::vtui_get_resource_string_ex(9999, "fallback") + "|" +
               VtuiLogic::vtui_get_resource_string_ex(kProbeId, "fallback");
    }), "||fallback|entry10");
}

// The build tree's catalogues: every number the dialogs use, translated, with the slot each format needs.
TEST(Catalogues, BuildTreeHasEveryNumberInBothLanguages)
{
    const unsigned numbers[] = {2003, 2020, 2025, 2027, 2096, 2098, 2099, 2118, 2141, 2142, 2143, 2144};
    const std::map<unsigned, char> slots = {{2099, 'd'}, {2141, 's'}, {2142, 's'}, {2143, 's'}, {2144, 's'}};
    std::map<unsigned, std::string> texts[2];
    for (int i = 0; i < 2; ++i) {
        nl_catd catalog = catopen(i == 0 ? XVTUI_CATALOG_DIR "/libcsp.cat" : XVTUI_RU_CATALOG_DIR "/libcsp.cat", 0);
        ASSERT_NE(catalog, reinterpret_cast<nl_catd>(-1)) << i;
        for (unsigned id : numbers) {
            texts[i][id] = catgets(catalog, 1, static_cast<int>(id), "");
            EXPECT_NE(texts[i][id], "") << (i == 0 ? "English" : "Russian") << " lacks " << id;
            const bool formatOk = slots.contains(id) ? VtuiLogic::IsSingleConversionFormat(texts[i][id], slots.at(id))
                                                     : texts[i][id].find('%') == std::string::npos;
            EXPECT_TRUE(formatOk) << id << ": \"" << texts[i][id] << "\"";
        }
        catclose(catalog);
    }
    for (unsigned id : numbers)
        EXPECT_NE(texts[0][id], texts[1][id]) << id << " is not translated";
    // Without overrides the support library points both descriptors at the build tree.
    EXPECT_EQ(testkit::RunInChild({{"LANG", "ru_RU.UTF-8"}, {"NLSPATH", "/nonexistent/%N"}}, [] {
        return CSPLocalizer().Localize(2118) + "|" + VtuiLogic::get_tries_warning_string(2, "PIN");
    }), "Больше не показывать это предупреждение|Wrong PIN, 2 tries left");
}

} // namespace
