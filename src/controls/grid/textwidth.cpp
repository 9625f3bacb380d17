#include "controls/grid/textwidth.h"

#include "controls/grid/flexgridmodel.h"

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

int fittingWidth(const FlexGridModel &model, int column, int mostRows, const QFont &header, const QFont &body)
{
    constexpr int laterRows = 20, margin = 12;
    constexpr std::size_t mostBytes = 1000;
    const TextWidth inHeader(header), inBody(body);
    const QString &name = model.fields()[static_cast<std::size_t>(column)].name;
    int width = inHeader.of(name) + inHeader.of(u"MM"); // room for the sort mark
    const auto fitRow = [&](int row) {
        const Cell &cell = model.cell(row, column);
        const QString text = cell.isNull ? QStringLiteral("NULL") : cellLine(cell.bytes, mostBytes);
        width = std::max(width, inBody.of(text));
    };
    const int all = model.rowCount(), rows = std::min(mostRows, all);
    for (int row = 0; row < rows; ++row)
        fitRow(row);
    // Numbers that count up are wider further down.
    if (rows > 0 && rows < all)
        for (int i = 1; i <= laterRows; ++i)
            fitRow(static_cast<int>(qint64(all - 1) * i / laterRows));
    return width + margin;
}
