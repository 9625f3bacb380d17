#include "structure/surroundings/surroundings.h"

#include "core/sql/statements.h"
#include "core/sql/words.h"
#include "structure/search/searchtext.h"

#include <QLocale>

namespace {

using Kind = RelatedThing::Kind;

// Columns of information_schema, found by the schema that they are in.
struct Named {
    const char *from, *schema, *name, *definition;
    Kind kind;
    QStringView title;
};
constexpr Named namingThings[] = {
    {"views", "table_schema", "table_name", "view_definition", Kind::View, u"ビュー"},
    {"routines", "routine_schema", "routine_name", "routine_definition", Kind::Procedure, u"ルーチン"},
    {"triggers", "event_object_schema", "trigger_name", "action_statement", Kind::Trigger, u"トリガー"},
    {"events", "event_schema", "event_name", "event_definition", Kind::Event, u"イベント"},
};

QString sizeText(const RecordSet &rows, int column)
{
    return rows.isNull(column) ? QStringLiteral("?")
                               : QLocale().formattedDataSize(rows.text(column).toLongLong());
}

QString text(const RecordSet &rows, int column)
{
    return rows.isNull(column) ? QString() : rows.text(column);
}

template <class Take>
void forRows(Session &session, const QString &statement, Take take)
{
    RecordSet rows = session.connection().execute(statement);
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        take(rows);
}

// What `make` makes of each row.
template <class Make>
std::vector<RelatedThing> readThings(Session &session, const QString &statement, Make make)
{
    std::vector<RelatedThing> things;
    forRows(session, statement, [&](const RecordSet &rows) { things.push_back(make(rows)); });
    return things;
}

// "table_schema='d' and table_name='t'"
QString isTable(const QString &database, const QString &table, const char *schemaColumn = "table_schema",
                const char *nameColumn = "table_name")
{
    QString where = QLatin1String(schemaColumn) + u'=' + textLiteral(database);
    if (!table.isEmpty())
        where += QStringLiteral(" and ") + QLatin1String(nameColumn) + u'=' + textLiteral(table);
    return where;
}

std::vector<RelatedThing> readSize(Session &session, const QString &database, const QString &table)
{
    std::vector<RelatedThing> things;
    const auto take = [&](const RecordSet &rows) {
        things.push_back({Kind::Fact, QStringLiteral("行と索引"),
                          QStringLiteral("%1 + %2　空き %3")
                              .arg(sizeText(rows, 1), sizeText(rows, 2), sizeText(rows, 3))});
        things.push_back({Kind::Fact, QStringLiteral("行数 (見積もり)"), text(rows, 0)});
        for (const auto &[column, title] : {std::pair(4, QStringLiteral("エンジン")),
                                            {5, QStringLiteral("作成")},
                                            {6, QStringLiteral("更新")}})
            if (!text(rows, column).isEmpty())
                things.push_back({Kind::Fact, title, text(rows, column)});
    };
    forRows(session,
            QStringLiteral("select sum(table_rows), sum(data_length), sum(index_length), sum(data_free), %1 "
                           "from information_schema.tables where %2")
                .arg(table.isEmpty() ? QStringLiteral("null, null, null")
                                     : QStringLiteral("max(engine), max(create_time), max(update_time)"),
                     isTable(database, table)),
            take);
    return things;
}

// Where a server does not tell of it, or not to this account, nothing is known.
QMap<QString, QString> optionalPairs(Session &session, const QString &statement)
{
    QMap<QString, QString> pairs;
    try {
        forRows(session, statement, [&](const RecordSet &rows) { pairs.insert(rows.text(0), rows.text(1)); });
    } catch (const Failure &error) {
        if (error.isConnectionLost() || error.isInterrupted())
            throw;
    }
    return pairs;
}

std::vector<RelatedThing> readIndexesOf(Session &session, const QString &database, const QString &table)
{
    const auto sizes = optionalPairs(
        session, QStringLiteral("select index_name, stat_value * @@innodb_page_size from "
                                "mysql.innodb_index_stats where stat_name='size' and database_name=%1 and "
                                "table_name=%2")
                     .arg(textLiteral(database), textLiteral(table)));
    const auto uses = optionalPairs(
        session, QStringLiteral("select index_name, count_star from "
                                "performance_schema.table_io_waits_summary_by_index_usage where "
                                "index_name is not null and ") +
                     isTable(database, table, "object_schema", "object_name"));
    return readThings(
        session,
        QStringLiteral("select index_name, group_concat(column_name order by seq_in_index separator "
                       "', '), max(non_unique), max(index_type) from information_schema.statistics "
                       "where %1 group by index_name order by index_name<>'PRIMARY', index_name")
            .arg(isTable(database, table)),
        [&](const RecordSet &rows) {
            const QString name = rows.text(0);
            QString details = u'(' + text(rows, 1) + u')' +
                              (rows.text(2) == u"0" ? QStringLiteral(" 一意") : QString()) + u' ' +
                              rows.text(3);
            if (sizes.contains(name))
                details += u' ' + QLocale().formattedDataSize(sizes[name].toLongLong());
            if (uses.contains(name))
                details += uses[name] == u"0" ? QStringLiteral("　サーバーの起動から未使用")
                                              : QStringLiteral("　使用 %1 回").arg(uses[name]);
            return RelatedThing{Kind::Fact, name, details};
        });
}

// isFrom: of the table; else those of others that refer to it.
std::vector<RelatedThing> readForeignKeys(Session &session, const QString &database, const QString &table,
                                          bool isFrom)
{
    return readThings(
        session,
        QStringLiteral(
            "select k.constraint_name, k.table_schema, k.table_name, group_concat(k.column_name order by "
            "k.ordinal_position separator ', '), k.referenced_table_schema, k.referenced_table_name, "
            "group_concat(k.referenced_column_name order by k.ordinal_position separator ', '), "
            "max(r.update_rule), max(r.delete_rule) from information_schema.key_column_usage k join "
            "information_schema.referential_constraints r on "
            "r.constraint_name=k.constraint_name where k.referenced_table_name is not null and %1 group by "
            "k.constraint_name, k.table_schema, k.table_name, k.referenced_table_schema, "
            "k.referenced_table_name")
            // Both of the views are told the table, and not that theirs are the same: MariaDB 10.11 else
            // opens all tables of the server for the second one.
            .arg(isFrom
                     ? isTable(database, table, "k.table_schema", "k.table_name") + QStringLiteral(" and ") +
                           isTable(database, table, "r.constraint_schema", "r.table_name")
                     : isTable(database, table, "k.referenced_table_schema", "k.referenced_table_name") +
                           QStringLiteral(" and r.constraint_schema=k.constraint_schema and "
                                          "r.table_name=k.table_name")),
        [&](const RecordSet &rows) {
            const auto qualified = [&](int schema) {
                return rows.text(schema) == database ? rows.text(schema + 1)
                                                     : rows.text(schema) + u'.' + rows.text(schema + 1);
            };
            const int other = isFrom ? 4 : 1;
            return RelatedThing{
                Kind::Table, rows.text(0),
                QStringLiteral("%1(%2) → %3(%4)　ON UPDATE %5　ON DELETE %6")
                    .arg(qualified(1), rows.text(3), qualified(4), rows.text(6), rows.text(7), rows.text(8)),
                rows.text(other), rows.text(other + 1)};
        });
}

std::vector<RelatedThing> readTriggersOf(Session &session, const QString &database, const QString &table)
{
    return readThings(
        session,
        QStringLiteral("select trigger_name, action_timing, event_manipulation, event_object_table, "
                       "definer from information_schema.triggers where %1 order by event_object_table, "
                       "trigger_name")
            .arg(isTable(database, table, "event_object_schema", "event_object_table")),
        [&](const RecordSet &rows) {
            return RelatedThing{
                Kind::Trigger, rows.text(0),
                QStringLiteral("%1 %2 ON %3　%4").arg(rows.text(1), rows.text(2), rows.text(3), rows.text(4)),
                database, rows.text(0)};
        });
}

// Of a table those that name it.
std::vector<RelatedThing> readEventsOf(Session &session, const QString &database, const QString &table)
{
    std::vector<RelatedThing> things;
    forRows(session,
            QStringLiteral("select event_name, status, event_type, execute_at, interval_value, "
                           "interval_field, last_executed, event_definition from information_schema.events "
                           "where event_schema=%1 order by event_name")
                .arg(textLiteral(database)),
            [&](const RecordSet &rows) {
                if (!table.isEmpty() && !namesTable(text(rows, 7), database, database, table))
                    return;
                const QString when = rows.isNull(4)
                                         ? QStringLiteral("AT ") + text(rows, 3)
                                         : QStringLiteral("EVERY %1 %2").arg(rows.text(4), rows.text(5));
                things.push_back({Kind::Event, rows.text(0),
                                  when + QStringLiteral("　") + rows.text(1) +
                                      (rows.isNull(6) ? QString() : QStringLiteral("　最後 ") + rows.text(6)),
                                  database, rows.text(0)});
            });
    return things;
}

std::vector<RelatedThing> readPartitions(Session &session, const QString &database, const QString &table)
{
    return readThings(
        session,
        QStringLiteral("select coalesce(subpartition_name, partition_name), partition_method, "
                       "partition_expression, partition_description, table_rows, data_length from "
                       "information_schema.partitions where partition_name is not null and %1 order by "
                       "partition_ordinal_position, subpartition_ordinal_position")
            .arg(isTable(database, table)),
        [&](const RecordSet &rows) {
            return RelatedThing{
                Kind::Fact, rows.text(0),
                QStringLiteral("%1(%2) %3　%4 行　%5")
                    .arg(text(rows, 1), text(rows, 2), text(rows, 3), text(rows, 4), sizeText(rows, 5))};
        });
}

// Those on the table itself, and, where wanted, on its database; a global right reaches everything.
std::vector<RelatedThing> readGrants(Session &session, const QString &database, const QString &table,
                                     bool withDatabase = true)
{
    QStringList parts;
    if (withDatabase)
        parts << QStringLiteral("select grantee, privilege_type, '%1' as place from "
                                "information_schema.schema_privileges where %2 like table_schema")
                     .arg(QStringLiteral("データベース"), textLiteral(database));
    if (!table.isEmpty())
        parts << QStringLiteral("select grantee, privilege_type, 'テーブル' as place from "
                                "information_schema.table_privileges where ") +
                     isTable(database, table)
              << QStringLiteral("select grantee, concat(privilege_type, '(', column_name, ')'), '列' from "
                                "information_schema.column_privileges where ") +
                     isTable(database, table);
    return readThings(
        session,
        QStringLiteral("select grantee, place, group_concat(privilege_type order by privilege_type "
                       "separator ', ') from (%1) as granted group by grantee, place order by grantee")
            .arg(parts.join(QStringLiteral(" union all "))),
        [](const RecordSet &rows) {
            return RelatedThing{Kind::Fact, rows.text(0), rows.text(1) + QStringLiteral(": ") + rows.text(2)};
        });
}

std::vector<RelatedThing> readNaming(Session &session, const QString &database, const QString &table)
{
    std::vector<RelatedThing> things;
    for (const Named &named : namingThings) {
        const QString kind =
            named.kind == Kind::Procedure ? QStringLiteral("routine_type") : QStringLiteral("''");
        forRows(session,
                QStringLiteral("select %1, %2, %3, %4 from information_schema.%5 where %6 and %1 not in "
                               "('sys', 'performance_schema') order by %1, %2")
                    .arg(QLatin1String(named.schema), QLatin1String(named.name),
                         QLatin1String(named.definition), kind, QLatin1String(named.from),
                         holdsText(QLatin1String(named.definition), table)),
                [&](const RecordSet &rows) {
                    if (!namesTable(text(rows, 2), rows.text(0), database, table))
                        return;
                    const bool isFunction = rows.text(3) == u"FUNCTION";
                    things.push_back(
                        {isFunction ? Kind::Function : named.kind,
                         rows.text(0) == database ? rows.text(1) : rows.text(0) + u'.' + rows.text(1),
                         named.title.toString(), rows.text(0), rows.text(1)});
                });
    }
    return things;
}

} // namespace

bool namesTable(const QString &definition, const QString &ownDatabase, const QString &database,
                const QString &table)
{
    const auto plain = [](const SqlWord &word) {
        return word.kind == TokenKind::Name ? word.written.sliced(1, word.written.size() - 2)
                                                  .replace(QStringLiteral("``"), QStringLiteral("`"))
                                            : word.written;
    };
    const auto isName = [](const SqlWord &word) {
        return word.kind == TokenKind::Name || word.kind == TokenKind::Word;
    };
    const std::vector<SqlWord> words = sqlWords(definition);
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!isName(words[i]) || plain(words[i]).compare(table, Qt::CaseInsensitive) != 0)
            continue;
        if (i > 0 && words[i - 1].small == u"as")
            continue; // an alias
        const bool isQualified = i >= 2 && words[i - 1].written == u"." && isName(words[i - 2]);
        if (isQualified ? plain(words[i - 2]).compare(database, Qt::CaseInsensitive) == 0
                        : ownDatabase.compare(database, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

std::vector<RelatedThing> readReferring(Session &session, const QString &database, const QString &table)
{
    std::vector<RelatedThing> things = readNaming(session, database, table);
    for (RelatedThing &key : readForeignKeys(session, database, table, false))
        things.push_back(std::move(key));
    for (RelatedThing &right : readGrants(session, database, table, false))
        things.push_back(std::move(right));
    return things;
}

Surroundings readSurroundings(Session &session, const QString &database, const QString &table)
{
    using Read = std::vector<RelatedThing> (*)(Session &, const QString &, const QString &);
    struct Part {
        QStringView title;
        Read read;
        bool isOfDatabase; // there is one without a table, too
    };
    static constexpr Part parts[] = {
        {u"大きさ", readSize, true},
        {u"索引", readIndexesOf, false},
        {u"参照先 (外部キー)",
         [](Session &own, const QString &d, const QString &t) { return readForeignKeys(own, d, t, true); },
         false},
        {u"参照元 (外部キー)",
         [](Session &own, const QString &d, const QString &t) { return readForeignKeys(own, d, t, false); },
         false},
        {u"トリガー", readTriggersOf, true},
        {u"イベント", readEventsOf, true},
        {u"パーティション", readPartitions, false},
        {u"使っているもの", readNaming, false},
        {u"権限 (全体を除く)",
         [](Session &own, const QString &d, const QString &t) { return readGrants(own, d, t); }, true},
    };
    Surroundings groups;
    for (const Part &part : parts) {
        if (table.isEmpty() && !part.isOfDatabase)
            continue;
        groups.push_back({part.title.toString(), {}});
        groups.back().isCounted = part.read != readSize;
        try {
            groups.back().things = part.read(session, database, table);
        } catch (const Failure &error) {
            if (error.isConnectionLost() || error.isInterrupted())
                throw;
            groups.back().refusal = error.description();
        }
    }
    return groups;
}
