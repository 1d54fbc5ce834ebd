/*
 * LocalizedText: one fixed user-interface text in English and Russian.
 *
 * Every dialog keeps its fixed texts as static members named m_...Term,
 * built at start-up from an English text and a Russian text in CP1251
 * (write the Russian one with CP1251_TEXT from l10n/Cp1251.h). The display
 * text, in UTF-8, stays empty until CSPLocalizer::Localize fills it once.
 */
#ifndef XVTUI_L10N_LOCALIZEDTEXT_H
#define XVTUI_L10N_LOCALIZEDTEXT_H

#include <string>

class LocalizedText {
public:
    // Display text starts empty; CSPLocalizer::Localize chooses it later.
    LocalizedText(const std::string& enText, const std::string& ruText);
    // A text whose display text is already decided, for instance one that the
    // provider sent with the request. Assign it to a term to replace only the
    // term's display text; a later Localize then leaves the term alone.
    LocalizedText(const std::string& enText, const std::string& ruText, const std::string& text);

    LocalizedText(const LocalizedText&) = default;

    // Copies only the display text, keeping this text's English and Russian
    // forms; self-assignment does nothing. Deliberate: see the second
    // constructor.
    LocalizedText& operator=(const LocalizedText& other);

    // The display text (UTF-8); empty until localised.
    const std::string& GetText() const { return m_text; }
    const char* c_str() const { return m_text.c_str(); }
    const std::string& GetEnText() const { return m_enText; }
    // The Russian form in CP1251.
    const std::string& GetRuText() const { return m_ruText; }

private:
    friend class CSPLocalizer;

    std::string m_enText;
    std::string m_ruText;
    std::string m_text;
};

#endif
