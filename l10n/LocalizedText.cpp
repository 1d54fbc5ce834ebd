#include "l10n/LocalizedText.h"

LocalizedText::LocalizedText(const std::string& enText, const std::string& ruText)
    : m_enText(enText), m_ruText(ruText)
{
}

LocalizedText::LocalizedText(const std::string& enText, const std::string& ruText,
                             const std::string& text)
    : m_enText(enText), m_ruText(ruText), m_text(text)
{
}

LocalizedText& LocalizedText::operator=(const LocalizedText& other)
{
    if (this != &other) {
        m_text = other.m_text;
    }
    return *this;
}
