#include "core/sql/statements.h"

#include "core/sql/failure.h"

namespace {

const QString crLf = QStringLiteral("\r\n");

qsizetype find(const QString &text, const QString &keyword)
{
    return text.indexOf(keyword, 0, Qt::CaseInsensitive);
}

// Breaks the line at the keyword's leading blank, which then stands on both lines.
QString brokenBefore(const QString &text, const QString &keyword, const QString &indent = {})
{
    const qsizetype at = find(text, keyword);
    return at < 0 ? text : text.left(at + 1) + crLf + indent + text.mid(at);
}

} // namespace

QString qualifiedName(const QString &database, const QString &name)
{
    return u'`' + database + QStringLiteral("`.") + name;
}

QString showCreateTable(const QString &qualifiedTable)
{
    return QStringLiteral("show create table ") + qualifiedTable + u';';
}

QString quotedName(QString name)
{
    return u'`' + name.replace(u'`', QStringLiteral("``")) + u'`';
}

QString quotedName(const QString &database, const QString &name)
{
    return quotedName(database) + u'.' + quotedName(name);
}

QString quotedText(QString text)
{
    text.replace(u'\\', QStringLiteral("\\\\"));
    return u'\'' + text.replace(u'\'', QStringLiteral("''")) + u'\'';
}

QString useStatement(const QString &database)
{
    return QStringLiteral("use ") + quotedName(database);
}

QString trimmedBlanks(const QString &text)
{
    qsizetype from = 0;
    qsizetype to = text.size();
    while (from < to && text[from] == u' ')
        ++from;
    while (to > from && text[to - 1] == u' ')
        --to;
    return text.mid(from, to - from);
}

QString withCrLf(QString text)
{
    return text.replace(u'\n', crLf);
}

QString withLf(QString text)
{
    return text.replace(crLf, QStringLiteral("\n"));
}

QString withoutBackticks(QString text)
{
    return text.remove(u'`');
}

QString cutAtLastComma(const QString &list)
{
    const qsizetype comma = list.lastIndexOf(u',');
    if (comma < 0)
        throw Failure(QStringLiteral("プロシージャの呼び出し、または引数が不正です。"), 5);
    return list.left(comma);
}

QString viewLayout(const QString &createView)
{
    QString text = createView;
    text.replace(u',', QStringLiteral(",\r\n\t"));

    const qsizetype body = find(text, QStringLiteral(" AS select "));
    QString head = body < 0 ? QString() : text.left(body + 1);
    // Only the name after VIEW is kept of the head: algorithm, definer and security clauses go.
    const qsizetype view = head.lastIndexOf(QStringLiteral(" VIEW "), -1, Qt::CaseInsensitive);
    head = head.mid(view < 0 ? 4 : view + 5);
    text = QStringLiteral("CREATE VIEW ") + trimmedBlanks(head) + (body < 0 ? text : text.mid(body));

    if (const qsizetype as = find(text, QStringLiteral(" AS ")); as >= 0)
        text.insert(as + 4, crLf);
    text = brokenBefore(text, QStringLiteral(" from "));
    text = brokenBefore(text, QStringLiteral(" where "));
    text = brokenBefore(text, QStringLiteral(" and "), QStringLiteral("  "));
    return brokenBefore(text, QStringLiteral(" or "), QStringLiteral("   "));
}

QString shownCreateText(const QString &kind, const QString &createText)
{
    return withoutBackticks(kind == u"View" ? viewLayout(createText) : withCrLf(createText));
}

QString qualifiedCreateText(const QString &createText, const QString &database, const QString &name)
{
    const QString text = trimmedBlanks(createText);
    const qsizetype afterKeyword = find(text, QStringLiteral("table")) + 5;
    QString rest = text.mid(afterKeyword);
    if (const qsizetype at = find(rest, name); at >= 0)
        rest.replace(at, name.size(), qualifiedName(database, name));
    return text.left(afterKeyword + 1) + rest;
}
