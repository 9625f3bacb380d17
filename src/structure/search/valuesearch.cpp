#include "structure/search/valuesearch.h"

#include "core/sql/statements.h"
#include "structure/search/searchtext.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

bool isOneOf(const QString &type, std::initializer_list<const char *> types)
{
    return std::ranges::any_of(types, [&](const char *each) { return type == QLatin1String(each); });
}

bool isExactNumber(const QString &type)
{
    return isOneOf(type, {"tinyint", "smallint", "mediumint", "int", "bigint", "decimal", "year"});
}

bool isBytes(const QString &type)
{
    return type.endsWith(u"blob") || isOneOf(type, {"binary", "varbinary"});
}

bool isSearched(const QString &type)
{
    return !isOneOf(type, {"geometry", "point", "linestring", "polygon", "multipoint", "multilinestring",
                           "multipolygon", "geometrycollection", "geomcollection", "vector"});
}

bool isNumber(const QString &text)
{
    static const QRegularExpression number(
        QRegularExpression::anchoredPattern(QStringLiteral("[+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?")));
    return number.match(text).hasMatch();
}

// Empty: the column cannot hold the text.
QString conditionFor(const SearchedColumn &column, const QString &text)
{
    const QString name = quotedName(column.name);
    if (!isSearched(column.type))
        return {};
    if (isExactNumber(column.type) || column.type == u"bit")
        return isNumber(text) ? (column.type == u"bit" ? name + QStringLiteral("+0=") : name + u'=') + text
                              : QString();
    // A FLOAT that is shown as 0.1 is not the number 0.1.
    if (isOneOf(column.type, {"float", "double"}))
        return isNumber(text) ? QStringLiteral("(%1=%2 or cast(%1 as char)+0=%2)").arg(name, text)
                              : QString();
    if (isBytes(column.type))
        return QStringLiteral("locate(0x%1, %2)>0").arg(QString::fromLatin1(text.toUtf8().toHex()), name);
    return holdsText(QStringLiteral("cast(%1 as char)").arg(name), text);
}

QString excerptOf(const SearchedColumn &column, const QString &text)
{
    const QString name = quotedName(column.name);
    if (isBytes(column.type))
        return QStringLiteral("concat('0x', left(hex(%1), 80))").arg(name);
    if (column.type == u"bit")
        return name + QStringLiteral("+0");
    if (isExactNumber(column.type) || isOneOf(column.type, {"float", "double"}))
        return name;
    return excerptAround(QStringLiteral("cast(%1 as char)").arg(name), text);
}

// As a user would write it in the rows' line of conditions.
QString keyCondition(const SearchedColumn &column)
{
    const QString name = quotedName(column.name);
    const QString start = textLiteral(name + u'=');
    if (isBytes(column.type))
        return QStringLiteral("%1, '0x', hex(%2)").arg(start, name);
    if (isExactNumber(column.type) || column.type == u"bit")
        return QStringLiteral("%1, %2+0").arg(start, name);
    return QStringLiteral("%1, quote(%2)").arg(start, name);
}

QString rowCondition(const std::vector<SearchedColumn> &columns)
{
    QStringList parts;
    for (const SearchedColumn &column : columns)
        if (column.isKey)
            parts << keyCondition(column);
    return parts.isEmpty() ? QStringLiteral("null")
                           : QStringLiteral("concat(%1)").arg(parts.join(QStringLiteral(", ' and ', ")));
}

std::vector<SearchedColumn> readColumns(Session &session, const QString &database, const QString &table)
{
    std::vector<SearchedColumn> columns;
    RecordSet rows = session.connection().execute(
        QStringLiteral("select column_name, data_type, column_key from information_schema.columns where "
                       "table_schema=%1 and table_name=%2 order by ordinal_position")
            .arg(textLiteral(database), textLiteral(table)));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        columns.push_back({rows.text(0), rows.text(1).toLower(), rows.text(2) == u"PRI"});
    return columns;
}

} // namespace

QString valueStatement(const QString &database, const QString &table,
                       const std::vector<SearchedColumn> &columns, const QString &text)
{
    QStringList conditions, shown{rowCondition(columns)};
    for (const SearchedColumn &column : columns) {
        const QString condition = conditionFor(column, text);
        if (!condition.isEmpty())
            conditions << condition;
        shown << (condition.isEmpty()
                      ? QStringLiteral("null")
                      : QStringLiteral("if(%1, %2, null)").arg(condition, excerptOf(column, text)));
    }
    if (conditions.isEmpty())
        return {};
    return QStringLiteral("select ") + shown.join(QStringLiteral(", ")) + QStringLiteral(" from ") +
           quotedName(database, table) + QStringLiteral(" where ") + conditions.join(QStringLiteral(" or ")) +
           QStringLiteral(" limit %1").arg(mostRowsOfTable);
}

SearchHits searchTable(Session &session, const QString &database, const QString &table, const QString &text)
{
    const std::vector<SearchedColumn> columns = readColumns(session, database, table);
    const QString statement = valueStatement(database, table, columns, text);
    SearchHits hits;
    if (statement.isEmpty())
        return hits;
    RecordSet rows = session.connection().execute(statement);
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const int field = static_cast<int>(i) + 1;
            if (rows.isNull(field))
                continue;
            const QString row = rows.isNull(0) ? QString() : rows.text(0);
            hits.push_back({SearchHit::Kind::Value, database, table, columns[i].name, row,
                            rows.text(field).simplified(),
                            row.isEmpty() ? conditionFor(columns[i], text) : row});
        }
    return hits;
}
