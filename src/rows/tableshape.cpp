#include "rows/tableshape.h"

#include "core/sql/statements.h"

#include <algorithm>
#include <map>
#include <optional>

namespace {

QString inSchema(const TableShape &table, const char *schema, const char *name)
{
    const auto text = [](const QString &value) {
        return literal({.name = {}, .type = {}, .kind = ValueKind::Text}, value.toUtf8());
    };
    return QStringLiteral("%1=%2 and %3=%4")
        .arg(QLatin1String(schema), text(table.database), QLatin1String(name), text(table.name));
}

bool hasText(const RecordSet &rows, int column, QStringView word)
{
    return column >= 0 && rows.text(column).contains(word, Qt::CaseInsensitive);
}

TableColumn columnOf(RecordSet &rows)
{
    const QString extra = rows.text(QStringLiteral("Extra"));
    const auto says = [&extra](QStringView word) { return extra.contains(word, Qt::CaseInsensitive); };
    TableColumn column;
    column.name = rows.text(QStringLiteral("Field"));
    column.type = rows.text(QStringLiteral("Type"));
    column.kind = kindOfType(column.type);
    column.isNullable = rows.text(QStringLiteral("Null")).compare(u"YES", Qt::CaseInsensitive) == 0;
    // "VIRTUAL GENERATED", "STORED GENERATED", "PERSISTENT" of MariaDB 5; not "DEFAULT_GENERATED". The
    // columns of a row's life in a system-versioned table take no values either.
    column.isGenerated = says(u"VIRTUAL") || says(u"STORED GENERATED") || says(u"PERSISTENT");
    column.isAutoIncrement = says(u"auto_increment");
    column.choices = choicesOfType(column.type);
    column.isSet = column.type.startsWith(u"set(", Qt::CaseInsensitive);
    // An ENUM without a default has its first choice, also in strict mode.
    column.hasDefault = column.isNullable || (!column.choices.isEmpty() && !column.isSet) ||
                        column.isAutoIncrement || says(u"DEFAULT_GENERATED") ||
                        !rows.isNull(rows.requiredField(QStringLiteral("Default")));
    column.isSingleFloat = column.type.startsWith(u"float", Qt::CaseInsensitive);
    return column;
}

void readColumns(Connection &connection, TableShape &table)
{
    for (RecordSet rows = connection.execute(QStringLiteral("show full columns from ") + table.qualified());
         !rows.isEof(); rows.moveNext()) {
        const bool isInvisible = hasText(rows, rows.fieldIndex(QStringLiteral("Extra")), u"INVISIBLE");
        (isInvisible ? table.unread : table.columns).push_back(columnOf(rows));
    }
}

// The primary key, else the shortest unique key without NULL; none of an expression or of a part of a column.
void readKey(Connection &connection, TableShape &table)
{
    std::map<QString, std::optional<std::vector<int>>> keys;
    for (RecordSet rows = connection.execute(QStringLiteral("show index from ") + table.qualified());
         !rows.isEof(); rows.moveNext()) {
        const int column = table.indexOf(rows.text(QStringLiteral("Column_name")));
        if (column >= 0)
            table.columns[static_cast<std::size_t>(column)].isIndexed = true;
        if (rows.text(QStringLiteral("Non_unique")) != u"0")
            continue;
        const QString name = rows.text(QStringLiteral("Key_name"));
        auto &columns = keys.try_emplace(name, std::vector<int>()).first->second;
        const bool isWhole = column >= 0 && rows.isNull(rows.requiredField(QStringLiteral("Sub_part"))) &&
                             !table.columns[static_cast<std::size_t>(column)].isNullable;
        if (!isWhole)
            columns.reset();
        else if (columns)
            columns->push_back(column);
    }
    if (const auto primary = keys.find(QStringLiteral("PRIMARY")); primary != keys.end() && primary->second)
        table.key = *primary->second;
    for (const auto &[name, columns] : keys)
        if (columns && (table.key.empty() || (columns->size() < table.key.size() && name != u"PRIMARY" &&
                                              !keys.contains(QStringLiteral("PRIMARY")))))
            table.key = *columns;
}

void readKind(Connection &connection, TableShape &table)
{
    RecordSet rows = connection.execute(
        QStringLiteral("select t.table_type, t.engine, t.table_rows, e.transactions "
                       "from information_schema.tables t left join information_schema.engines e "
                       "on e.engine=t.engine where ") +
        inSchema(table, "t.table_schema", "t.table_name"));
    if (rows.isEof())
        return;
    table.engine = rows.isNull(1) ? QString() : rows.text(1);
    table.approximateRows = rows.isNull(2) ? -1 : rows.text(2).toLongLong();
    table.isTransactional = rows.text(3).compare(u"YES", Qt::CaseInsensitive) == 0;
    const QString type = rows.text(0).toUpper();
    if (type == u"VIEW")
        table.whyReadOnly = QStringLiteral("ビューの行は変更できません");
    else if (type == u"SYSTEM VIEW")
        table.whyReadOnly = QStringLiteral("サーバーが作る一覧です。行は変更できません");
    else if (type == u"SEQUENCE")
        table.whyReadOnly = QStringLiteral("シーケンスの値は変更できません");
}

// One row for each column of a key. The condition says whose keys, of both views.
std::vector<ForeignKey> readForeignKeys(Connection &connection, const QString &where)
{
    std::vector<ForeignKey> keys;
    for (RecordSet rows = connection.execute(
             QStringLiteral("select k.constraint_name, k.table_schema, k.table_name, k.column_name, "
                            "k.referenced_table_schema, k.referenced_table_name, k.referenced_column_name, "
                            "concat(r.delete_rule,' ',r.update_rule) "
                            "from information_schema.key_column_usage k "
                            "join information_schema.referential_constraints r "
                            "on r.constraint_name=k.constraint_name where ") +
             where +
             QStringLiteral(" order by k.table_schema, k.table_name, k.constraint_name, k.ordinal_position"));
         !rows.isEof(); rows.moveNext()) {
        const bool isNext = !keys.empty() && keys.back().name == rows.text(0) &&
                            keys.back().fromDatabase == rows.text(1) && keys.back().fromTable == rows.text(2);
        if (!isNext) {
            ForeignKey key{rows.text(0), rows.text(1), rows.text(2), {}, rows.text(4), rows.text(5), {}};
            key.changesRows = hasText(rows, 7, u"CASCADE") || hasText(rows, 7, u"SET NULL");
            keys.push_back(std::move(key));
        }
        keys.back().fromColumns << rows.text(3);
        keys.back().toColumns << rows.text(6);
    }
    return keys;
}

} // namespace

QString TableShape::qualified() const
{
    return quotedName(database, name);
}

int TableShape::indexOf(const QString &column) const
{
    const auto found = std::ranges::find_if(columns, [&column](const TableColumn &candidate) {
        return candidate.name.compare(column, Qt::CaseInsensitive) == 0;
    });
    return found == columns.end() ? -1 : static_cast<int>(found - columns.begin());
}

TableShape readTableShape(Connection &connection, const QString &database, const QString &name)
{
    TableShape table;
    table.database = database;
    table.name = name;
    readColumns(connection, table);
    readKind(connection, table);
    if (table.whyReadOnly.isEmpty())
        readKey(connection, table);
    if (table.whyReadOnly.isEmpty() && table.key.empty())
        table.whyReadOnly = QStringLiteral("主キーも、NULLのない一意キーもないため、行を特定できません");
    if (table.whyReadOnly.isEmpty())
        // Both of the views are told the table, and not that theirs are the same: MariaDB 10.11 else opens
        // all tables of the server for the second one.
        table.references = readForeignKeys(
            connection, inSchema(table, "k.table_schema", "k.table_name") + QStringLiteral(" and ") +
                            inSchema(table, "r.constraint_schema", "r.table_name") +
                            QStringLiteral(" and k.referenced_table_name<>''"));
    return table;
}

std::vector<ForeignKey> readReferrers(Connection &connection, const TableShape &table)
{
    return readForeignKeys(connection,
                           inSchema(table, "k.referenced_table_schema", "k.referenced_table_name") +
                               QStringLiteral(" and r.constraint_schema=k.constraint_schema and "
                                              "r.table_name=k.table_name"));
}

TableShape shapeOfColumns(const TableShape &table, const QStringList &columns)
{
    TableShape shape = table;
    shape.columns.clear();
    shape.key.clear();
    std::map<int, int> places; // of the table's columns among those read
    for (const QString &name : columns) {
        const int column = table.indexOf(name);
        if (column < 0 || places.contains(column)) {
            shape.whyReadOnly = QStringLiteral("テーブルの列そのものではない列があります: ") + name;
            return shape;
        }
        places[column] = static_cast<int>(shape.columns.size());
        shape.columns.push_back(table.columns[static_cast<std::size_t>(column)]);
    }
    for (std::size_t column = 0; column < table.columns.size(); ++column)
        if (!places.contains(static_cast<int>(column)))
            shape.unread.push_back(table.columns[column]);
    for (const int column : table.key) {
        const auto place = places.find(column);
        if (place == places.end()) {
            shape.whyReadOnly = QStringLiteral("キーの列が読まれていません: ") +
                                table.columns[static_cast<std::size_t>(column)].name;
            return shape;
        }
        shape.key.push_back(place->second);
    }
    return shape;
}

void heedConnection(TableShape &table, const ConnectionProfile &profile)
{
    if (profile.isReadOnly && table.whyReadOnly.isEmpty())
        table.whyReadOnly = QStringLiteral("接続先「%1」は読み取り専用の接続です").arg(profile.name);
}

TableShape withUnreadColumns(TableShape table)
{
    table.columns.insert(table.columns.end(), table.unread.begin(), table.unread.end());
    table.unread.clear();
    return table;
}
