// Catalogue lookups through both resource descriptors, and the catalogues the
// build compiles.
#include <gtest/gtest.h>

#include <nl_types.h>

#include "L10nTestSupport.h"
#include "l10n/CSPLocalizer.h"
#include "l10n/VtuiLogic.h"

using l10ntest::CompileCatalog;
using l10ntest::RunInChild;
using l10ntest::TempDir;

namespace {

constexpr unsigned kProbeId = 2118;

// Three catalogues with different texts for the same number, and a directory
// without any, so that each result tells which file was opened.
class CatalogueOrder : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_entry10 = m_dir.Sub("entry10");
        m_entry13 = m_dir.Sub("entry13");
        m_nlspath = m_dir.Sub("nlspath");
        m_empty = m_dir.Sub("empty");
        ASSERT_TRUE(CompileCatalog(m_entry10, {{kProbeId, "entry 10"}, {2144, "E10 wrong %s"}}));
        ASSERT_TRUE(CompileCatalog(m_entry13, {{kProbeId, "entry 13"}}));
        ASSERT_TRUE(CompileCatalog(m_nlspath, {{kProbeId, "nlspath"}}));
    }

    std::string Nls(const std::string& dir) const { return dir + "/%N"; }

    TempDir m_dir;
    std::string m_entry10, m_entry13, m_nlspath, m_empty;
};

// Text kProbeId through the first descriptor (CSPLocalizer::Localize).
std::string First(const std::map<std::string, std::string>& env, unsigned id = kProbeId)
{
    return RunInChild(env, [id] { return "[" + CSPLocalizer().Localize(id) + "]"; });
}

// Text kProbeId through the second descriptor (VtuiLogic), with its status.
std::string Second(const std::map<std::string, std::string>& env, unsigned id = kProbeId)
{
    return RunInChild(env, [id] {
        CSPLocalizer localizer; // as in the dialogs: the locale is recognised first
        std::string text = "untouched";
        const unsigned status = VtuiLogic::vtui_get_resource_string(id, text);
        return (status == 0 ? "ok " : "error ") + text;
    });
}

TEST_F(CatalogueOrder, FirstDescriptorTriesEntry13OnlyInRussianThenEntry10)
{
    struct Case {
        const char* lang;
        std::string entry10, entry13;
        std::string expected;
    };
    const Case cases[] = {
        {"ru_RU.UTF-8", m_entry10, m_entry13, "[entry 13]"},
        {"ru_RU.cp1251", m_entry10, m_entry13, "[entry 13]"},
        {"ru_RU.UTF-8", m_entry10, m_empty, "[entry 10]"}, // Russian catalogue missing
        {"en_US.UTF-8", m_entry10, m_entry13, "[entry 10]"},
        {"ru_RU.CP1251", m_entry10, m_entry13, "[entry 10]"}, // not a recognised name
        {"ru_RU.UTF-8", m_empty, m_entry13, "[entry 13]"},
        {"en_US.UTF-8", m_empty, m_entry13, "[]"},
        {"ru_RU.UTF-8", m_empty, m_empty, "[]"},
        {"ru_RU.UTF-8", m_dir.Path() + "/no/such/dir", m_dir.Path() + "/no/such/dir", "[]"},
    };
    for (const Case& c : cases) {
        // NLSPATH must not matter to the first descriptor.
        EXPECT_EQ(First({{"LANG", c.lang},
                         {"TORVIK_CATALOG_DIR", c.entry10},
                         {"TORVIK_LOCALE_CATALOG_DIR", c.entry13},
                         {"NLSPATH", Nls(m_nlspath)}}),
                  c.expected)
            << c.lang << " entry10=" << c.entry10 << " entry13=" << c.entry13;
    }
}

TEST_F(CatalogueOrder, FirstDescriptorUnknownNumberIsEmpty)
{
    const std::map<std::string, std::string> env = {{"LANG", "en_US.UTF-8"}, {"TORVIK_CATALOG_DIR", m_entry10}};
    EXPECT_EQ(First(env, 9999), "[]");
    EXPECT_EQ(First(env, 0x80000000u), "[]");
    EXPECT_EQ(First(env, kProbeId), "[entry 10]");
}

TEST_F(CatalogueOrder, SecondDescriptorTriesTheSearchPathThenEntry10)
{
    struct Case {
        const char* lang;
        std::string nlspath, entry10;
        std::string expected;
    };
    const Case cases[] = {
        {"en_US.UTF-8", Nls(m_nlspath), m_entry10, "ok nlspath"},
        {"ru_RU.UTF-8", Nls(m_nlspath), m_entry10, "ok nlspath"},
        // %l is the language of the message locale.
        {"ru_RU.UTF-8", m_dir.Path() + "/%l/%N", m_entry10, "ok entry 10"},
        {"en_US.UTF-8", Nls(m_empty), m_entry10, "ok entry 10"},
        {"ru_RU.UTF-8", Nls(m_empty), m_entry10, "ok entry 10"},
        // Entry 13 is never the second descriptor's concern.
        {"ru_RU.UTF-8", Nls(m_empty), m_empty, "error untouched"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Second({{"LANG", c.lang},
                          {"NLSPATH", c.nlspath},
                          {"TORVIK_CATALOG_DIR", c.entry10},
                          {"TORVIK_LOCALE_CATALOG_DIR", m_entry13}}),
                  c.expected)
            << c.lang << " NLSPATH=" << c.nlspath << " entry10=" << c.entry10;
    }
}

TEST_F(CatalogueOrder, SecondDescriptorFindsTheLanguageDirectory)
{
    const std::string ru = m_dir.Sub("ru");
    ASSERT_TRUE(CompileCatalog(ru, {{kProbeId, "by language"}}));
    EXPECT_EQ(Second({{"LANG", "ru_RU.UTF-8"},
                      {"NLSPATH", m_dir.Path() + "/%l/%N"},
                      {"TORVIK_CATALOG_DIR", m_entry10}}),
              "ok by language");
}

TEST_F(CatalogueOrder, SecondDescriptorFailuresLeaveOutputOrGiveFallback)
{
    const std::map<std::string, std::string> env = {
        {"LANG", "en_US.UTF-8"}, {"NLSPATH", Nls(m_empty)}, {"TORVIK_CATALOG_DIR", m_entry10}};
    EXPECT_EQ(Second(env, 9999), "error untouched");
    EXPECT_EQ(RunInChild(env,
                         [] {
                             return VtuiLogic::vtui_get_resource_string_ex(9999, "fallback") + "|" +
                                    VtuiLogic::vtui_get_resource_string_ex(kProbeId, "fallback");
                         }),
              "fallback|entry 10");
    const std::map<std::string, std::string> none = {
        {"LANG", "en_US.UTF-8"}, {"NLSPATH", Nls(m_empty)}, {"TORVIK_CATALOG_DIR", m_empty}};
    EXPECT_EQ(RunInChild(none, [] { return VtuiLogic::vtui_get_resource_string_ex(kProbeId, "fallback"); }),
              "fallback");
}

TEST_F(CatalogueOrder, DescriptorsAreIndependent)
{
    // Russian locale: the first descriptor reads entry 13, the second the search path.
    const std::string result = RunInChild(
        {{"LANG", "ru_RU.UTF-8"},
         {"NLSPATH", Nls(m_nlspath)},
         {"TORVIK_CATALOG_DIR", m_entry10},
         {"TORVIK_LOCALE_CATALOG_DIR", m_entry13}},
        [] {
            CSPLocalizer localizer;
            return localizer.Localize(kProbeId) + "|" + VtuiLogic::vtui_get_resource_string_ex(kProbeId, "-") + "|" +
                   localizer.Localize(kProbeId);
        });
    EXPECT_EQ(result, "entry 13|nlspath|entry 13");
}

// The catalogues of the build tree: every number the dialogs use, in both
// languages, with the slot each format needs.
TEST(BuildCatalogues, ContainEveryNumberInBothLanguages)
{
    const struct {
        const char* path;
        const char* language;
    } catalogues[] = {
        {XVTUI_CATALOG_DIR "/libcsp.cat", "English"},
        {XVTUI_RU_CATALOG_DIR "/libcsp.cat", "Russian"},
    };
    std::map<unsigned, std::string> texts[2];
    for (int i = 0; i < 2; ++i) {
        nl_catd catalog = catopen(catalogues[i].path, NL_CAT_LOCALE);
        ASSERT_NE(catalog, reinterpret_cast<nl_catd>(-1)) << catalogues[i].path;
        static const char missing[] = "";
        for (unsigned id : l10ntest::kCatalogNumbers) {
            const char* text = catgets(catalog, 1, static_cast<int>(id), missing);
            EXPECT_TRUE(text != missing && *text != '\0') << catalogues[i].language << " lacks " << id;
            if (text != missing) {
                texts[i][id] = text;
            }
        }
        catclose(catalog);

        const std::pair<unsigned, char> slots[] = {{2099, 'd'}, {2141, 's'}, {2142, 's'}, {2143, 's'}, {2144, 's'}};
        for (const auto& [id, conversion] : slots) {
            EXPECT_TRUE(VtuiLogic::IsSingleConversionFormat(texts[i][id], conversion))
                << catalogues[i].language << " " << id << ": \"" << texts[i][id] << "\"";
        }
        for (unsigned id : {2003u, 2020u, 2025u, 2027u, 2096u, 2098u, 2118u}) {
            EXPECT_EQ(texts[i][id].find('%'), std::string::npos) << catalogues[i].language << " " << id;
        }
    }
    for (unsigned id : l10ntest::kCatalogNumbers) {
        EXPECT_NE(texts[0][id], texts[1][id]) << id << " is not translated";
    }
}

TEST(BuildCatalogues, AreFoundThroughTheDefaultPaths)
{
    // Without overrides the support library points at the build tree.
    const std::string result = RunInChild({{"LANG", "ru_RU.UTF-8"}, {"NLSPATH", "/nonexistent/%N"}}, [] {
        return CSPLocalizer().Localize(2118) + "|" + VtuiLogic::get_tries_warning_string(2, "PIN");
    });
    EXPECT_EQ(result, "Больше не показывать это предупреждение|Wrong PIN, 2 tries left");
}

} // namespace
