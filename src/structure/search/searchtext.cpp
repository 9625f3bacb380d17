#include "structure/search/searchtext.h"

namespace {

// Names are compared byte for byte by some servers (MySQL 8), and a column's own collation knows more or
// less of them; this one is everywhere.
QString comparable(const QString &expression)
{
    return QStringLiteral("convert(%1 using utf8mb4) collate utf8mb4_general_ci").arg(expression);
}

} // namespace

QString textLiteral(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("''")
                          : QStringLiteral("_utf8mb4 0x") + QString::fromLatin1(text.toUtf8().toHex());
}

QString holdsText(const QString &expression, const QString &text)
{
    QString pattern = text;
    for (const QChar special : {u'|', u'%', u'_'})
        pattern.replace(special, QString(u'|') + special);
    return comparable(expression) + QStringLiteral(" like ") + textLiteral(u'%' + pattern + u'%') +
           QStringLiteral(" escape '|'");
}

QString excerptAround(const QString &expression, const QString &text)
{
    const QString whole = comparable(expression);
    return QStringLiteral("substring(%1, greatest(cast(locate(%2, %1) as signed) - 30, 1), 120)")
        .arg(whole, textLiteral(text));
}
