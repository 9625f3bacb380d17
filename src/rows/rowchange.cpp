#include "rows/rowchange.h"

#include "core/sql/statements.h"

namespace {

const TableColumn &columnAt(const TableShape &table, int column)
{
    return table.columns[static_cast<std::size_t>(column)];
}

} // namespace

QString sameKey(const TableShape &table, const std::vector<RowValue> &values)
{
    QStringList conditions;
    for (const int column : table.key) {
        const RowValue &value = values[static_cast<std::size_t>(column)];
        const QString indexed = indexedValue(columnAt(table, column), value);
        const QString same = sameValue(columnAt(table, column), value);
        if (!indexed.isEmpty() && indexed != same)
            conditions << indexed;
        conditions << same;
    }
    return conditions.join(QStringLiteral(" and "));
}

QString sameRow(const TableShape &table, const std::vector<RowValue> &values)
{
    QStringList conditions{sameKey(table, values)};
    for (std::size_t column = 0; column < table.columns.size(); ++column)
        if (std::ranges::find(table.key, static_cast<int>(column)) == table.key.end())
            conditions << sameValue(table.columns[column], values[column]);
    return conditions.join(QStringLiteral(" and "));
}

QString updateStatement(const TableShape &table, const RowChange &change)
{
    QStringList assignments;
    for (const auto &[column, value] : change.values)
        assignments << quotedName(columnAt(table, column).name) + u'=' +
                           literal(columnAt(table, column), value);
    return QStringLiteral("update %1 set %2 where %3")
        .arg(table.qualified(), assignments.join(u','), sameRow(table, change.before));
}

QString insertStatement(const TableShape &table, const RowChange &change)
{
    QStringList names, values;
    for (const auto &[column, value] : change.values) {
        names << quotedName(columnAt(table, column).name);
        values << literal(columnAt(table, column), value);
    }
    return QStringLiteral("insert into %1 (%2) values (%3)")
        .arg(table.qualified(), names.join(u','), values.join(u','));
}

QString deleteStatement(const TableShape &table, const RowChange &change)
{
    return QStringLiteral("delete from %1 where %2").arg(table.qualified(), sameRow(table, change.before));
}

QString statementOf(const TableShape &table, const RowChange &change)
{
    switch (change.kind) {
    case RowChange::Kind::Added:
        return insertStatement(table, change);
    case RowChange::Kind::Deleted:
        return deleteStatement(table, change);
    case RowChange::Kind::Changed:
        break;
    }
    return updateStatement(table, change);
}

RowChange inverseOf(const TableShape &table, const RowChange &change, const std::vector<RowValue> &after)
{
    RowChange inverse{RowChange::Kind::Changed, change.row, after, {}};
    if (change.kind == RowChange::Kind::Added) {
        inverse.kind = RowChange::Kind::Deleted;
        return inverse;
    }
    if (change.kind == RowChange::Kind::Deleted)
        inverse.kind = RowChange::Kind::Added;
    for (std::size_t column = 0; column < table.columns.size(); ++column)
        if (!table.columns[column].isGenerated && (after.empty() || after[column] != change.before[column]))
            inverse.values[static_cast<int>(column)] = change.before[column];
    return inverse;
}

std::vector<RowChange> inverseOf(const TableShape &whole, const std::vector<RowChange> &changes,
                                 const std::map<std::size_t, std::vector<RowValue>> &exact,
                                 const std::map<std::size_t, std::vector<RowValue>> &after)
{
    std::vector<RowChange> inverse;
    for (std::size_t index = changes.size(); index-- > 0;) {
        const auto now = after.find(index);
        const auto before = exact.find(index);
        RowChange change = changes[index];
        if (now == after.end() || (change.kind == RowChange::Kind::Deleted && before == exact.end()))
            continue;
        if (change.kind == RowChange::Kind::Deleted)
            change.before = before->second;
        // What the server itself has put into columns that nobody read stays.
        for (std::size_t column = change.before.size(); column < now->second.size(); ++column)
            change.before.push_back(now->second[column]);
        RowChange back = inverseOf(whole, change, now->second);
        if (before != exact.end())
            for (auto &[column, value] : back.values)
                value = before->second[static_cast<std::size_t>(column)];
        if (back.kind == RowChange::Kind::Deleted || !back.values.empty())
            inverse.push_back(std::move(back));
    }
    return inverse;
}
