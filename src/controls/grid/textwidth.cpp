#include "controls/grid/textwidth.h"

#include <QFontMetrics>

TextWidth::TextWidth(const QFont &font)
{
    const QFontMetrics metrics(font);
    for (std::size_t i = 0; i < m_latin.size(); ++i)
        m_latin[i] = i < 32 ? 0 : metrics.horizontalAdvance(QChar(static_cast<char16_t>(i)));
    m_wide = metrics.horizontalAdvance(u'あ');
    m_narrow = metrics.horizontalAdvance(u'n');
}

int TextWidth::of(QStringView text) const
{
    int width = 0;
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        if (unit < m_latin.size())
            width += m_latin[unit];
        else if (character.isLowSurrogate())
            continue; // counted with its first half
        else
            width += unit < 0x1100 || (unit >= 0xff61 && unit <= 0xff9f) ? m_narrow : m_wide;
    }
    return width;
}
