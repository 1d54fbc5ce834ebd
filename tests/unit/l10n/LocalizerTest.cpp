// Locale recognition, fixed texts, container names and code-page conversion of CSPLocalizer.
#include "l10n/CSPLocalizer.h"
#include "l10n/Cp1251.h"
#include "common/UnitKit.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <tuple>

namespace {

const std::string kRuCancel = CP1251_TEXT("Отмена"), kName = CP1251_TEXT("Контейнер-1");
const std::string kBad = "\x98"; // the one CP1251 byte without a character

// In a fresh process with this environment: the message locale in effect, whether
// it was recognised as Russian, its encoding, and how "Cancel" is shown.
std::string Recognise(const std::map<std::string, std::string>& env)
{
    return testkit::RunInChild(env, [] {
        CSPLocalizer first;
        const std::string locale = std::setlocale(LC_MESSAGES, nullptr);
        // Recognised once: a later locale change is not seen by a later localizer.
        setenv("LC_ALL", CSPLocalizer::NeedLocalize() ? "C" : "ru_RU.UTF-8", 1);
        std::setlocale(LC_ALL, "");
        LocalizedText cancel("Cancel", kRuCancel);
        CSPLocalizer().Localize(cancel);
        return locale + (CSPLocalizer::NeedLocalize() ? " ru " : " en ") + CSPLocalizer::CurrentEncoding() + "|" +
               cancel.GetText();
    });
}

TEST(CSPLocalizer, RecognisesOnlyTheExactRussianNames)
{
    const std::pair<std::map<std::string, std::string>, std::string> cases[] = {
        {{{"LANG", "ru_RU.cp1251"}}, "ru_RU.cp1251 ru CP1251|Отмена"},
        {{{"LANG", "ru_RU.utf8"}}, "ru_RU.utf8 ru UTF-8|Отмена"},
        {{{"LANG", "ru_RU.UTF-8"}}, "ru_RU.UTF-8 ru UTF-8|Отмена"},
        // Near misses stay English: another case, no codeset, another codeset.
        {{{"LANG", "ru_RU.CP1251"}}, "ru_RU.CP1251 en |Cancel"},
        {{{"LANG", "ru_RU"}}, "* en |Cancel"}, // "*": any locale in effect, these are rarely generated
        {{{"LANG", "ru_RU.KOI8-R"}}, "* en |Cancel"},
        {{{"LANG", "en_US.UTF-8"}}, "en_US.UTF-8 en |Cancel"},
        {{}, "C en |Cancel"},
        // The message locale decides, whichever variable sets it.
        {{{"LANG", "en_US.UTF-8"}, {"LC_MESSAGES", "ru_RU.UTF-8"}}, "ru_RU.UTF-8 ru UTF-8|Отмена"},
        {{{"LANG", "ru_RU.UTF-8"}, {"LC_ALL", "C"}}, "C en |Cancel"},
    };
    for (const auto& [env, expected] : cases) {
        const std::string result = Recognise(env);
        EXPECT_EQ(expected[0] == '*' ? "*" + result.substr(result.find(' ')) : result, expected);
    }
}

TEST(CSPLocalizer, TextsAndContainerNamesPerLocale)
{
    // Display texts of: Cancel, an empty English text, Russian that does not convert,
    // no Russian, a text decided beforehand; then container names in code page 0,
    // 65001 and 866, and one that does not convert.
    const std::string asStored = "#" + kName + "|Контейнер-1|" + kName + "|" + kBad;
    const std::pair<const char*, std::string> cases[] = {
        {"ru_RU.UTF-8", "Отмена||OK|OK|Provider's title#Контейнер-1|Контейнер-1||"},
        {"ru_RU.cp1251", "Отмена||OK|OK|Provider's title" + asStored},
        {"en_US.UTF-8", "Cancel||OK|OK|Provider's title" + asStored},
    };
    for (const auto& [lang, expected] : cases) {
        EXPECT_EQ(testkit::RunInChild({{"LANG", lang}}, [] {
            LocalizedText texts[] = {{"Cancel", kRuCancel}, {"", kRuCancel}, {"OK", kBad}, {"OK", ""},
                                     {"Title", CP1251_TEXT("Заголовок"), "Provider's title"}};
            CSPLocalizer localizer;
            std::string shown;
            for (LocalizedText& text : texts) {
                localizer.Localize(text);
                const std::string first = text.GetText();
                localizer.Localize(text); // a second Localize keeps the first result
                shown += (text.GetText() == first ? first : "changed") + (&text != &texts[4] ? "|" : "#");
            }
            return shown + localizer.LocalizeContName(kName, 0) + "|" + localizer.LocalizeContName("Контейнер-1", 65001) +
                   "|" + localizer.LocalizeContName(kName, 866) + "|" + localizer.LocalizeContName(kBad, 0);
        }), expected) << lang;
    }
}

TEST(LocalizedText, AssignmentCopiesOnlyTheDisplayText)
{
    LocalizedText term("Title", "ru-title");
    term = LocalizedText("", "", "From the provider");
    EXPECT_EQ(term.GetText() + "|" + term.GetEnText() + "|" + term.GetRuText(), "From the provider|Title|ru-title");
}

TEST(CSPLocalizer, Conversions)
{
    const std::tuple<std::string, unsigned, std::string> utf8[] = {
        {kRuCancel, 0, "Отмена"}, {CP1251_TEXT("Ёё «№» —"), 0, "Ёё «№» —"}, {"", 0, ""}, {"ab" + kBad + "cd", 0, ""},
        {"\xff\xfe", 65001, "\xff\xfe"}, // passed through unchecked
        {kRuCancel, 1251, ""}, {kRuCancel, 866, ""}, // only 0 names CP1251 here
    };
    for (const auto& [text, codePage, expected] : utf8)
        EXPECT_EQ(CSPLocalizer::ToUTF8(text, codePage), expected) << codePage;
    const std::tuple<std::string, unsigned, std::wstring> wide[] = {
        {kRuCancel, 0, L"Отмена"}, {"Отмена", 65001, L"Отмена"}, {"\xC0", 1251, L"А"}, {"", 0, L""},
        {kBad, 0, L""}, {"\xC3", 65001, L""}, {"abc", 12345, L""}, // truncated UTF-8, unknown code page
    };
    for (const auto& [text, codePage, expected] : wide)
        EXPECT_EQ(CSPLocalizer::ToWstring(text, codePage), expected) << codePage;
}

} // namespace
