#include "core/listitem.h"

#include "core/sqlerror.h"

ListItem ListItem::parse(const QString &text)
{
    const qsizetype tab = text.indexOf(u'\t');
    return tab < 0 ? ListItem{text, {}} : ListItem{text.left(tab), text.mid(tab + 1)};
}

ListItem ListItem::required(const QString &text)
{
    if (!text.contains(u'\t'))
        throw SqlError(QStringLiteral("一覧で対象が選択されていません。"));
    return parse(text);
}
