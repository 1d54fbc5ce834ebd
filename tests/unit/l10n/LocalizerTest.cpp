// Locale recognition, fixed texts and code-page conversion of CSPLocalizer.
#include <gtest/gtest.h>

#include <clocale>
#include <locale.h>

#include "L10nTestSupport.h"
#include "l10n/CSPLocalizer.h"
#include "l10n/Cp1251.h"

using l10ntest::RunInChild;

namespace {

// "Отмена" in CP1251 and in UTF-8, and the container name "Контейнер-1".
const std::string kRuCancel = CP1251_TEXT("Отмена");
const std::string kUtf8Cancel = "Отмена";
const std::string kCp1251Name = CP1251_TEXT("Контейнер-1");
const std::string kUtf8Name = "Контейнер-1";
// 0x98 is the one CP1251 byte without a character.
const std::string kBadCp1251 = "\x98";

bool LocaleInstalled(const char* name)
{
    locale_t probe = newlocale(LC_ALL_MASK, name, static_cast<locale_t>(nullptr));
    if (probe == static_cast<locale_t>(nullptr)) {
        return false;
    }
    freelocale(probe);
    return true;
}

// What a fresh process with this environment recognises, and how it shows a term.
std::string Recognise(const std::map<std::string, std::string>& env)
{
    return RunInChild(env, [] {
        CSPLocalizer localizer;
        LocalizedText cancel("Cancel", kRuCancel);
        localizer.Localize(cancel);
        return std::string(CSPLocalizer::NeedLocalize() ? "ru" : "en") + "|" +
               CSPLocalizer::CurrentEncoding() + "|" + cancel.GetText();
    });
}

struct LocaleCase {
    std::map<std::string, std::string> env;
    const char* needsLocale; // skip when this locale is not generated
    std::string expected;
};

TEST(CSPLocalizerLocale, RecognisesOnlyTheExactRussianNames)
{
    const std::string ru8 = "ru|UTF-8|" + kUtf8Cancel;
    const std::string english = "en||Cancel";
    const LocaleCase cases[] = {
        {{{"LANG", "ru_RU.cp1251"}}, "ru_RU.cp1251", "ru|CP1251|" + kUtf8Cancel},
        {{{"LANG", "ru_RU.utf8"}}, "ru_RU.utf8", ru8},
        {{{"LANG", "ru_RU.UTF-8"}}, "ru_RU.UTF-8", ru8},
        // Near misses stay English: case differs, no codeset, another codeset.
        {{{"LANG", "ru_RU.CP1251"}}, "ru_RU.CP1251", english},
        {{{"LANG", "ru_RU"}}, nullptr, english},
        {{{"LANG", "ru_RU.KOI8-R"}}, nullptr, english},
        {{{"LANG", "en_US.UTF-8"}}, "en_US.UTF-8", english},
        {{}, nullptr, english},
        // The message locale decides, whichever variable sets it.
        {{{"LANG", "en_US.UTF-8"}, {"LC_MESSAGES", "ru_RU.UTF-8"}}, "ru_RU.UTF-8", ru8},
        {{{"LANG", "en_US.UTF-8"}, {"LC_ALL", "ru_RU.utf8"}}, "ru_RU.utf8", ru8},
        {{{"LANG", "ru_RU.UTF-8"}, {"LC_MESSAGES", "en_US.UTF-8"}}, "en_US.UTF-8", english},
        {{{"LANG", "ru_RU.UTF-8"}, {"LC_ALL", "C"}}, nullptr, english},
    };
    for (const LocaleCase& c : cases) {
        std::string description;
        for (const auto& [name, value] : c.env) {
            description += name + "=" + value + " ";
        }
        if (c.needsLocale != nullptr && !LocaleInstalled(c.needsLocale)) {
            ADD_FAILURE() << "locale " << c.needsLocale << " is not generated (scripts/setup.sh)";
            continue;
        }
        EXPECT_EQ(Recognise(c.env), c.expected) << description;
    }
}

TEST(CSPLocalizerLocale, RecognitionHappensOncePerProcess)
{
    const std::string result = RunInChild({{"LANG", "ru_RU.UTF-8"}}, [] {
        CSPLocalizer first;
        // A later locale change is not seen by later localizers.
        setenv("LANG", "en_US.UTF-8", 1);
        std::setlocale(LC_ALL, "");
        CSPLocalizer second;
        LocalizedText ok("OK", CP1251_TEXT("ОК"));
        second.Localize(ok);
        return ok.GetText();
    });
    EXPECT_EQ(result, "ОК");
}

TEST(CSPLocalizerTerms, LocalizeRules)
{
    struct Case {
        const char* lang;
        LocalizedText text;
        std::string expected;
    };
    const auto preset = [](const std::string& shown) { return LocalizedText("Title", CP1251_TEXT("Заголовок"), shown); };
    const Case cases[] = {
        {"ru_RU.UTF-8", LocalizedText("Cancel", kRuCancel), kUtf8Cancel},
        {"ru_RU.cp1251", LocalizedText("Cancel", kRuCancel), kUtf8Cancel},
        {"en_US.UTF-8", LocalizedText("Cancel", kRuCancel), "Cancel"},
        // An empty English text stays empty even in Russian.
        {"ru_RU.UTF-8", LocalizedText("", kRuCancel), ""},
        // A Russian text that does not convert leaves the English one.
        {"ru_RU.UTF-8", LocalizedText("OK", kBadCp1251), "OK"},
        {"ru_RU.UTF-8", LocalizedText("OK", ""), "OK"},
        // A display text set beforehand is kept.
        {"ru_RU.UTF-8", preset("Provider's title"), "Provider's title"},
        {"en_US.UTF-8", preset("Provider's title"), "Provider's title"},
    };
    for (const Case& c : cases) {
        const std::string result = RunInChild({{"LANG", c.lang}}, [&] {
            CSPLocalizer localizer;
            LocalizedText text = c.text;
            localizer.Localize(text);
            const std::string first = text.GetText();
            localizer.Localize(text); // a second Localize keeps the first result
            return first == text.GetText() ? first : "changed by the second Localize: " + text.GetText();
        });
        EXPECT_EQ(result, c.expected) << c.lang << " en=\"" << c.text.GetEnText() << "\"";
    }
}

TEST(CSPLocalizerTerms, ProviderTextReplacesOnlyTheDisplayText)
{
    // A term that received the provider's title is not overwritten by Localize.
    const std::string result = RunInChild({{"LANG", "ru_RU.UTF-8"}}, [] {
        CSPLocalizer localizer;
        LocalizedText title("Title", CP1251_TEXT("Заголовок"));
        title = LocalizedText("", "", "From the provider");
        localizer.Localize(title);
        return title.GetText() + "|" + title.GetEnText();
    });
    EXPECT_EQ(result, "From the provider|Title");
}

TEST(LocalizedTextAssignment, CopiesOnlyTheDisplayText)
{
    LocalizedText source("Source", "ru-source", "shown");
    LocalizedText target("Target", "ru-target");
    target = source;
    EXPECT_EQ(target.GetText(), "shown");
    EXPECT_EQ(target.GetEnText(), "Target");
    EXPECT_EQ(target.GetRuText(), "ru-target");

    target = LocalizedText("Other", "ru-other"); // an unlocalised text clears it
    EXPECT_EQ(target.GetText(), "");
    EXPECT_EQ(target.GetEnText(), "Target");

    LocalizedText& alias = source;
    source = alias;
    EXPECT_EQ(source.GetText(), "shown");
    EXPECT_EQ(source.GetEnText(), "Source");
}

TEST(CSPLocalizerContainerNames, DependOnTheLocaleAndCodePage)
{
    struct Case {
        const char* lang;
        std::string name;
        unsigned codePage;
        std::string expected;
    };
    const Case cases[] = {
        // Russian UTF-8 locale: code page 0 converted, 65001 kept, others dropped.
        {"ru_RU.UTF-8", kCp1251Name, 0, kUtf8Name},
        {"ru_RU.UTF-8", kUtf8Name, 65001, kUtf8Name},
        {"ru_RU.UTF-8", kCp1251Name, 866, ""},
        {"ru_RU.UTF-8", kCp1251Name, 1251, ""},
        {"ru_RU.UTF-8", kBadCp1251, 0, ""},
        {"ru_RU.utf8", kCp1251Name, 0, kUtf8Name},
        // Russian CP1251 locale: names pass unchanged.
        {"ru_RU.cp1251", kCp1251Name, 0, kCp1251Name},
        {"ru_RU.cp1251", kCp1251Name, 866, kCp1251Name},
        // No Russian locale: unchanged.
        {"en_US.UTF-8", kCp1251Name, 0, kCp1251Name},
        {"en_US.UTF-8", kUtf8Name, 65001, kUtf8Name},
        {"en_US.UTF-8", kBadCp1251, 866, kBadCp1251},
    };
    for (const Case& c : cases) {
        const std::string result = RunInChild({{"LANG", c.lang}}, [&] {
            return CSPLocalizer().LocalizeContName(c.name, c.codePage);
        });
        EXPECT_EQ(result, c.expected) << c.lang << " code page " << c.codePage;
    }
}

TEST(CSPLocalizerConversion, ToUTF8)
{
    struct Case {
        std::string text;
        unsigned codePage;
        std::string expected;
    };
    const Case cases[] = {
        {kRuCancel, 0, kUtf8Cancel},
        {CP1251_TEXT("Ёё «№» —"), 0, "Ёё «№» —"},
        {"plain ASCII", 0, "plain ASCII"},
        {"", 0, ""},
        {kBadCp1251, 0, ""},
        {"ab" + kBadCp1251 + "cd", 0, ""},
        {kUtf8Cancel, 65001, kUtf8Cancel},
        {"\xff\xfe not UTF-8", 65001, "\xff\xfe not UTF-8"}, // 65001 is passed through unchecked
        {kRuCancel, 1251, ""}, // only 0 names CP1251 here
        {kRuCancel, 866, ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CSPLocalizer::ToUTF8(c.text, c.codePage), c.expected) << "code page " << c.codePage;
    }
}

TEST(CSPLocalizerConversion, ToWstring)
{
    struct Case {
        std::string text;
        unsigned codePage;
        std::wstring expected;
    };
    const Case cases[] = {
        {kRuCancel, 0, L"Отмена"},
        {kUtf8Cancel, 65001, L"Отмена"},
        {"\xC0", 1251, L"А"},
        {"", 0, L""},
        {kBadCp1251, 0, L""},
        {"\xC3", 65001, L""}, // truncated UTF-8
        {"abc", 12345, L""},  // unknown code page
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CSPLocalizer::ToWstring(c.text, c.codePage), c.expected) << "code page " << c.codePage;
    }
}

} // namespace
