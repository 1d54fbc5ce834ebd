/*
 * CSPLocalizer: English or Russian, code-page conversion and numbered texts.
 *
 * The first construction in the process reads the message locale once; only
 * the exact names "ru_RU.cp1251", "ru_RU.utf8" and "ru_RU.UTF-8" switch the
 * fixed texts to Russian. Every BaseDialog owns one instance; all state is
 * static and lives until exit. Nothing here throws or logs: a failed
 * conversion or lookup gives an empty string.
 *
 * Code pages are the support library's numbers: 0 is the provider's default
 * single-byte code page (CP1251), 65001 is UTF-8.
 */
#ifndef XVTUI_L10N_CSPLOCALIZER_H
#define XVTUI_L10N_CSPLOCALIZER_H

#include <string>
#include <utility>
#include <vector>

#include "l10n/LocalizedText.h"
#include "support/torvik.h"

class CSPLocalizer {
public:
    // Locale name (compared exactly) and the encoding it implies.
    using Encodings = std::pair<std::string, std::string>;

    static const std::string UTF8_ENCODING;   // "UTF-8"
    static const std::string CP1251_ENCODING; // "CP1251"
    static const Encodings aEncodings[3];     // the supported locales, in search order

    // The first construction in the process recognises the locale; later
    // constructions do nothing.
    CSPLocalizer();

    // Fills text's display text once: the English text, or in a Russian
    // locale the Russian one converted to UTF-8 (English if that fails). A
    // text whose display text is set, or whose English text is empty, keeps
    // what it has.
    void Localize(LocalizedText& text) const;

    // Catalogue text number `id` (set 1 of libcsp.cat), as stored in the
    // catalogue; empty when the catalogue or the text cannot be read.
    std::string Localize(unsigned int id) const;

    // Text in code page 65001 is returned as it is, code page 0 is converted
    // to UTF-8; any other code page, or a failed conversion, gives "".
    static std::string ToUTF8(const std::string& text, unsigned codePage);

    // A container name made displayable: converted like ToUTF8 only in a
    // Russian UTF-8 locale for code pages other than 65001, otherwise unchanged.
    std::string LocalizeContName(std::string const& name, unsigned int codePage) const;

    // Text in the given code page as a wide string; "" on failure.
    static std::wstring ToWstring(const std::string& text, unsigned codePage);

    // Result of the locale recognition.
    static bool NeedLocalize() { return m_needLocalize; }
    static const std::string& CurrentEncoding() { return m_curEnc; }

    // Opens the catalogue of the first resource descriptor: entry 13 of the
    // path table first when a Russian locale is active, then entry 10. Run
    // once by the support library before the first lookup.
    static void OnceInit();

    // The first resource descriptor, read by Localize(unsigned int).
    static TSupportResource m_resource;
    static TSupportResourceTable m_resourceTable;
    static TSupportResourceCatalog m_catalog;
    static TSupportResourceVersion m_version;

private:
    static void RecognizeLocale();

    static std::vector<Encodings> m_ruEncodings; // copy of aEncodings
    static const std::string m_catName;          // "/libcsp.cat"
    static std::string m_curEnc;                 // encoding of the Russian locale, or ""
    static bool m_needLocalize;
    static bool m_localeRecognized;
};

#endif
