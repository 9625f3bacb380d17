#include "core/sql/listitem.h"

#include "core/sql/failure.h"

ListItem ListItem::parse(const QString &text)
{
    const qsizetype tab = text.indexOf(u'\t');
    return tab < 0 ? ListItem{text, {}} : ListItem{text.left(tab), text.mid(tab + 1)};
}

ListItem ListItem::required(const QString &text)
{
    if (!text.contains(u'\t'))
        throw Failure(QStringLiteral("一覧で対象が選択されていません。"));
    return parse(text);
}

namespace {

bool isInvisible(QChar c)
{
    return c < u' ' || (c >= QChar(0x7F) && c <= QChar(0x9F)) || c == QChar::LineSeparator ||
           c == QChar::ParagraphSeparator || c.category() == QChar::Other_Format;
}

QString signOf(QChar c)
{
    if (c < u' ')
        return QChar(0x2400 + c.unicode()); // the pictures of control characters
    if (c == QChar(0x7F))
        return QChar(0x2421);
    return QStringLiteral("‹U+%1›").arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper();
}

QString visible(const QString &text, QStringView kept)
{
    QString result;
    result.reserve(text.size());
    for (const QChar c : text)
        if (isInvisible(c) && !kept.contains(c))
            result += signOf(c);
        else
            result += c;
    return result;
}

} // namespace

QString visibleName(const QString &name)
{
    return visible(name, {});
}

QString visibleItem(const QString &item)
{
    const qsizetype name = item.startsWith(u'[') ? item.indexOf(u'\t') + 1 : 0;
    return item.left(name) + visibleName(item.mid(name));
}

QString visibleText(const QString &text)
{
    return visible(text, u"\t\r\n");
}
