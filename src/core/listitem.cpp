#include "core/listitem.h"

#include "core/sqlerror.h"

#include <QStringList>

ListItem ListItem::parse(const QString &text)
{
    const QStringList pieces = text.split(u'\t');
    return {pieces.value(0), pieces.value(1)};
}

ListItem ListItem::required(const QString &text)
{
    if (!text.contains(u'\t'))
        throw SqlError(QStringLiteral("一覧で対象が選択されていません。"));
    return parse(text);
}
