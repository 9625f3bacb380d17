#include "rows/rowreading.h"

#include "core/sql/statements.h"

#include <algorithm>

QString keyCondition(const TableShape &table, const std::vector<RowValue> &values)
{
    QStringList conditions;
    for (const int key : table.key) {
        const TableColumn &column = table.columns[static_cast<std::size_t>(key)];
        const RowValue &value = values[static_cast<std::size_t>(key)];
        const QString indexed = indexedValue(column, value);
        conditions << (indexed.isEmpty() ? sameValue(column, value) : indexed);
    }
    return conditions.join(QStringLiteral(" and "));
}

std::vector<std::vector<RowValue>> selectRows(Connection &connection, const TableShape &table,
                                              const QString &tail, bool isExact)
{
    QStringList columns;
    for (const TableColumn &column : table.columns)
        columns << (isExact && column.isSingleFloat ? quotedName(column.name) + QStringLiteral("+0e0")
                                                    : quotedName(column.name));
    std::vector<std::vector<RowValue>> rows;
    for (RecordSet set = connection.execute(
             QStringLiteral("select %1 from %2%3").arg(columns.join(u','), table.qualified(), tail));
         !set.isEof(); set.moveNext()) {
        std::vector<RowValue> &values = rows.emplace_back();
        for (std::size_t column = 0; column < table.columns.size(); ++column)
            values.push_back(valueOfCell(table.columns[column], set.cells()[column]));
    }
    return rows;
}

std::map<QByteArray, std::vector<RowValue>> rowsByKey(Connection &connection, const TableShape &table,
                                                      const std::vector<std::vector<RowValue>> &rows,
                                                      const QString &lock, bool isExact)
{
    constexpr std::size_t mostRowsAtOnce = 100;
    std::map<QByteArray, std::vector<RowValue>> found;
    for (std::size_t first = 0; first < rows.size(); first += mostRowsAtOnce) {
        QStringList conditions;
        for (std::size_t row = first; row < std::min(first + mostRowsAtOnce, rows.size()); ++row)
            conditions << u'(' + keyCondition(table, rows[row]) + u')';
        for (std::vector<RowValue> &values :
             selectRows(connection, table,
                        QStringLiteral(" where ") + conditions.join(QStringLiteral(" or ")) + lock, isExact))
            found[keyBytes(table, values)] = std::move(values);
    }
    return found;
}

QByteArray keyBytes(const TableShape &table, const std::vector<RowValue> &values)
{
    QByteArray bytes;
    for (const int key : table.key) {
        const QByteArray value = values[static_cast<std::size_t>(key)].value_or(QByteArray());
        bytes += QByteArray::number(value.size()) + ':' + value;
    }
    return bytes;
}

bool isOnServer(Connection &connection, const TableShape &table, const std::vector<RowValue> &values)
{
    RecordSet rows = connection.execute(
        QStringLiteral("select count(*) from %1 where %2").arg(table.qualified(), sameRow(table, values)));
    return rows.text(0) == u"1";
}

Standing standingOf(Connection &connection, const TableShape &table, const std::vector<RowValue> &before,
                    const std::vector<RowValue> &after)
{
    if (before == after)
        return Standing::Unclear;
    const auto isThere = [&](const std::vector<RowValue> &values) {
        if (values.empty())
            return false;
        const auto rows =
            selectRows(connection, table,
                       QStringLiteral(" where %1 lock in share mode").arg(keyCondition(table, values)));
        return std::ranges::find(rows, values) != rows.end();
    };
    const bool isBefore = isThere(before), isAfter = isThere(after);
    if (isBefore == isAfter && (isAfter || (!before.empty() && !after.empty())))
        return Standing::Unclear;
    return isAfter || (after.empty() && !isBefore) ? Standing::After : Standing::Before;
}
