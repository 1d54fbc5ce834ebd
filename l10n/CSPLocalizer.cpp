#include "l10n/CSPLocalizer.h"

#include <clocale>
#include <cstdio>
#include <nl_types.h>
#include <vector>

#include "l10n/ResourceLookup.h"

const std::string CSPLocalizer::UTF8_ENCODING = "UTF-8";
const std::string CSPLocalizer::CP1251_ENCODING = "CP1251";
const CSPLocalizer::Encodings CSPLocalizer::aEncodings[3] = {
    {"ru_RU.cp1251", "CP1251"},
    {"ru_RU.utf8", "UTF-8"},
    {"ru_RU.UTF-8", "UTF-8"},
};
std::vector<CSPLocalizer::Encodings> CSPLocalizer::m_ruEncodings(std::begin(aEncodings),
                                                                   std::end(aEncodings));
const std::string CSPLocalizer::m_catName = "/libcsp.cat";
std::string CSPLocalizer::m_curEnc;
bool CSPLocalizer::m_needLocalize = false;
bool CSPLocalizer::m_localeRecognized = false;

TSupportResourceVersion CSPLocalizer::m_version = {l10n_detail::kUndefinedVersion, l10n_detail::kUndefinedVersion,
                                                   {nullptr, nullptr}};
TSupportResourceCatalog CSPLocalizer::m_catalog = {
    0, &CSPLocalizer::OnceInit, {nullptr, nullptr, nullptr, nullptr, nullptr}, reinterpret_cast<void*>(-1)};
TSupportResourceTable CSPLocalizer::m_resourceTable = {&CSPLocalizer::m_catalog, &CSPLocalizer::m_version,
                                                       {nullptr, nullptr}};
TSupportResource CSPLocalizer::m_resource = {&CSPLocalizer::m_resourceTable};

CSPLocalizer::CSPLocalizer()
{
    if (!m_localeRecognized) {
        RecognizeLocale();
    }
}

void CSPLocalizer::RecognizeLocale()
{
    std::setlocale(LC_ALL, "");
    const char* messages = std::setlocale(LC_MESSAGES, nullptr);
    if (messages != nullptr) {
        // Exact, case-sensitive names only: "ru_RU", "ru_RU.KOI8-R" or
        // "ru_RU.CP1251" leave the dialogs in English.
        for (const Encodings& entry : m_ruEncodings) {
            if (entry.first == messages) {
                m_curEnc = entry.second;
                m_needLocalize = true;
                break;
            }
        }
    }
    m_localeRecognized = true;
}

void CSPLocalizer::Localize(LocalizedText& text) const
{
    if (!text.m_text.empty()) {
        return;
    }
    text.m_text = text.m_enText;
    if (m_needLocalize && !text.m_enText.empty()) {
        std::string russian = ToUTF8(text.m_ruText, TORVIK_CP_DEFAULT);
        if (!russian.empty()) {
            text.m_text = std::move(russian);
        }
    }
}

std::string CSPLocalizer::Localize(unsigned int id) const
{
    std::string text;
    l10n_detail::ReadResourceString(&m_resource, id, text);
    return text;
}

std::string CSPLocalizer::ToUTF8(const std::string& text, unsigned codePage)
{
    if (codePage == TORVIK_CP_UTF8) {
        return text;
    }
    if (codePage != TORVIK_CP_DEFAULT) {
        return std::string();
    }
    const std::wstring wide = ToWstring(text, codePage);
    if (wide.empty()) {
        return std::string(); // nothing to convert, or a failed conversion
    }
    const int utf8Length = WideCharToMultiByte(TORVIK_CP_UTF8, 0, wide.c_str(), -1, nullptr, 0, nullptr, nullptr);
    if (utf8Length <= 0) {
        return std::string();
    }
    std::vector<char> utf8(static_cast<std::size_t>(utf8Length), '\0');
    if (WideCharToMultiByte(TORVIK_CP_UTF8, 0, wide.c_str(), -1, utf8.data(), utf8Length, nullptr, nullptr) == 0) {
        return std::string();
    }
    return std::string(utf8.data(), static_cast<std::size_t>(utf8Length) - 1);
}

std::string CSPLocalizer::LocalizeContName(std::string const& name, unsigned int codePage) const
{
    // In a CP1251 locale (or with no Russian locale) the name is shown as the
    // provider stored it; only a UTF-8 Russian locale needs it converted.
    if (m_curEnc == UTF8_ENCODING && codePage != TORVIK_CP_UTF8) {
        return codePage == TORVIK_CP_DEFAULT ? ToUTF8(name, codePage) : std::string();
    }
    return name;
}

std::wstring CSPLocalizer::ToWstring(const std::string& text, unsigned codePage)
{
    const int wideLength = MultiByteToWideChar(codePage, 0, text.c_str(), -1, nullptr, 0);
    if (wideLength <= 0) {
        return std::wstring();
    }
    std::vector<wchar_t> wide(static_cast<std::size_t>(wideLength), L'\0');
    if (MultiByteToWideChar(codePage, 0, text.c_str(), -1, wide.data(), wideLength) == 0) {
        return std::wstring();
    }
    return std::wstring(wide.data(), static_cast<std::size_t>(wideLength) - 1);
}

void CSPLocalizer::OnceInit()
{
    if (!m_curEnc.empty()) {
        m_catalog.catalog =
            l10n_detail::OpenCatalog(l10n_detail::PathTableEntry(TORVIK_PATH_LOCALE_CATALOG), m_catName.c_str());
    }
    if (m_catalog.catalog != reinterpret_cast<void*>(-1)) {
        return;
    }
    m_catalog.catalog = l10n_detail::OpenCatalog(l10n_detail::PathTableEntry(TORVIK_PATH_CATALOG), m_catName.c_str());
}
