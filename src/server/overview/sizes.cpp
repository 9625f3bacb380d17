#include "server/overview/sizes.h"

#include "server/overview/indexes.h"
#include "server/overview/overviewreading.h"

#include <QSet>

namespace {

constexpr int mostRows = 1000;

QString mebibytes(const QString &bytes)
{
    return bytes.isEmpty() ? QString() : QString::number(bytes.toDouble() / (1024 * 1024), 'f', 2);
}

QString keyOf(const QStringList &names)
{
    return names.join(u'\t');
}

Overview::Answer readTables(Connection &connection)
{
    Overview::Answer answer;
    RecordSet rows = connection.execute(
        QStringLiteral("select table_schema as a, table_name as b, engine as c, table_rows as d, "
                       "data_length as e, index_length as f, data_free as g, data_length + index_length as h "
                       "from information_schema.tables where table_type = 'BASE TABLE' "
                       "order by data_length + index_length desc limit %1")
            .arg(mostRows));
    for (; !rows.isEof(); rows.moveNext())
        answer.rows.push_back(
            {keyOf({rows.text(0), rows.text(1)}),
             {rows.text(0), rows.text(1), textOf(rows, "c"), textOf(rows, "d"), mebibytes(textOf(rows, "e")),
              mebibytes(textOf(rows, "f")), mebibytes(textOf(rows, "g")), mebibytes(textOf(rows, "h"))}});
    answer.problem = unseenTables(connection);
    answer.note = QStringLiteral("大きい順に %1 個までです。行数は概算です。").arg(mostRows);
    const ServerInfo server = connection.server();
    if (!server.isMariaDb && server.number >= 80000)
        answer.note += QStringLiteral("このサーバーの大きさは統計の値で、information_schema_stats_expiry の"
                                      "時間 (既定は 24 時間) だけ古いことがあります。");
    return answer;
}

Overview::Answer readIndexSizes(Connection &connection)
{
    Overview::Answer answer;
    RecordSet rows = connection.execute(
        QStringLiteral("select database_name, table_name, index_name, stat_value * @@innodb_page_size "
                       "from mysql.innodb_index_stats where stat_name = 'size' "
                       "order by stat_value desc limit %1")
            .arg(mostRows));
    for (; !rows.isEof(); rows.moveNext())
        answer.rows.push_back({keyOf({rows.text(0), rows.text(1), rows.text(2)}),
                               {rows.text(0), rows.text(1), rows.text(2), mebibytes(rows.text(3))}});
    answer.note = QStringLiteral("InnoDB の統計 (mysql.innodb_index_stats) の値で、大きい順に %1 個までです。"
                                 "PRIMARY と GEN_CLUST_INDEX は表の行そのものです。")
                      .arg(mostRows);
    return answer;
}

std::vector<TableIndex> readIndexes(Connection &connection)
{
    const ServerInfo server = connection.server();
    const bool hasExpressions = !server.isMariaDb && server.number >= 80013;
    RecordSet rows = connection.execute(
        QStringLiteral("select table_schema as a, table_name as b, index_name as c, index_type as d, "
                       "non_unique as e, column_name as f, sub_part as g, collation as h, %1 as i "
                       "from information_schema.statistics where table_schema not in (%2) "
                       "order by table_schema, table_name, index_name <> 'PRIMARY', index_name, seq_in_index")
            .arg(hasExpressions ? QStringLiteral("expression") : QStringLiteral("null"), systemSchemas()));
    std::vector<TableIndex> indexes;
    for (; !rows.isEof(); rows.moveNext()) {
        if (indexes.empty() || indexes.back().name != rows.text(2) || indexes.back().table != rows.text(1) ||
            indexes.back().database != rows.text(0))
            indexes.push_back(
                {rows.text(0), rows.text(1), rows.text(2), rows.text(3), rows.text(4) == u"0", {}});
        QString what = rows.isNull(5) ? u'(' + textOf(rows, "i") + u')' : rows.text(5);
        if (textOf(rows, "h") == u"D")
            what += QStringLiteral(" DESC");
        indexes.back().parts.push_back({what, textOf(rows, "g").toInt()});
    }
    return indexes;
}

Overview::Answer readDoubled(Connection &connection)
{
    Overview::Answer answer;
    const std::vector<TableIndex> indexes = readIndexes(connection);
    for (const DoubledIndex &each : doubledIndexes(indexes))
        answer.rows.push_back({keyOf({each.index->database, each.index->table, each.index->name}),
                               {each.index->database, each.index->table, each.index->name,
                                each.index->partsText(), each.by->name, each.by->partsText()}});
    answer.problem = unseenTables(connection);
    answer.note =
        QStringLiteral("別の索引の先頭と同じ列の索引です。FORCE INDEX などで名指しする文がないか確かめてから"
                       "削除してください。");
    return answer;
}

// Which indexes were used, by "database, table, index", and since when.
struct Usage {
    QSet<QString> used;
    QString since;
};

Usage readUsage(Connection &connection)
{
    Usage usage;
    QString question;
    if (firstText(connection, QStringLiteral("select @@performance_schema")) == u"1") {
        question = QStringLiteral("select object_schema, object_name, index_name "
                                  "from performance_schema.table_io_waits_summary_by_index_usage "
                                  "where index_name is not null and count_star > 0");
        RecordSet uptime = connection.execute(QStringLiteral("show global status like 'Uptime'"));
        const qint64 hours = uptime.isEof() ? 0 : uptime.text(1).toLongLong() / 3600;
        usage.since = QStringLiteral("サーバーの起動から %1 時間").arg(hours);
    } else if (connection.server().isMariaDb &&
               firstText(connection, QStringLiteral("select @@userstat")) == u"1") {
        question = QStringLiteral("select table_schema, table_name, index_name "
                                  "from information_schema.index_statistics where rows_read > 0");
        usage.since = QStringLiteral("userstat を入れてから、または FLUSH INDEX_STATISTICS から");
    } else {
        throw Failure(connection.server().isMariaDb
                          ? QStringLiteral("このサーバーは索引の使用を数えていません。performance_schema=ON "
                                           "(次の起動から) か userstat=1 で数えます。")
                          : QStringLiteral("このサーバーは索引の使用を数えていません。performance_schema=ON "
                                           "(次の起動から) で数えます。"));
    }
    for (RecordSet rows = connection.execute(question); !rows.isEof(); rows.moveNext())
        usage.used.insert(keyOf({rows.text(0), rows.text(1), rows.text(2)}));
    return usage;
}

Overview::Answer readUnused(Connection &connection)
{
    Overview::Answer answer;
    const Usage usage = readUsage(connection);
    for (const TableIndex &each : readIndexes(connection)) {
        const QString key = keyOf({each.database, each.table, each.name});
        if (!each.isUnique && each.type == u"BTREE" && !usage.used.contains(key))
            answer.rows.push_back({key, {each.database, each.table, each.name, each.partsText()}});
    }
    answer.problem = unseenTables(connection);
    answer.note =
        usage.since + QStringLiteral("、一度も使われていない索引です。UNIQUE と FULLTEXT は除きます。"
                                     "外部キーに要る索引も含まれます。");
    return answer;
}

} // namespace

std::vector<Overview> sizeOverviews()
{
    const KeyedColumn database{QStringLiteral("データベース")}, table{QStringLiteral("表")},
        index{QStringLiteral("索引")}, parts{QStringLiteral("列")};
    const QString none = QStringLiteral("ありません");
    return {{"tableSizeList",
             QStringLiteral("大きい表"),
             {database,
              table,
              {QStringLiteral("エンジン")},
              {QStringLiteral("行数"), true},
              {QStringLiteral("データ (MiB)"), true},
              {QStringLiteral("索引 (MiB)"), true},
              {QStringLiteral("空き (MiB)"), true},
              {QStringLiteral("合計 (MiB)"), true}},
             readTables,
             none},
            {"indexSizeList",
             QStringLiteral("大きい索引"),
             {database, table, index, {QStringLiteral("大きさ (MiB)"), true}},
             readIndexSizes,
             none},
            {"unusedIndexList",
             QStringLiteral("使われていない索引"),
             {database, table, index, parts},
             readUnused,
             none},
            {"doubledIndexList",
             QStringLiteral("重なる索引"),
             {database,
              table,
              {QStringLiteral("余分な索引")},
              parts,
              {QStringLiteral("兼ねる索引")},
              {QStringLiteral("兼ねる索引の列")}},
             readDoubled,
             none}};
}
