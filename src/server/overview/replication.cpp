#include "server/overview/replication.h"

#include "core/command/replicationstatus.h"
#include "core/sql/listitem.h"
#include "core/sql/passwords.h"
#include "server/overview/overviewreading.h"

#include <map>

namespace {

// SHOW REPLICAS of a source that was started with show-replica-auth-info.
bool isSecret(const QString &field)
{
    return field.compare(u"Password", Qt::CaseInsensitive) == 0;
}

// The statement that could not be applied stands at the end of its error. The words before it may speak of
// passwords ("using password: YES") without telling one.
QString maskedError(const QString &error)
{
    static const QString mark = QStringLiteral("Query: '");
    const qsizetype at = error.indexOf(mark);
    if (at < 0)
        return error;
    const qsizetype from = at + mark.size(), end = error.endsWith(u'\'') ? error.size() - 1 : error.size();
    return error.left(from) + maskedPasswords(error.mid(from, end - from)) + error.mid(end);
}

// Each version has fields of its own: one row for each of them.
void addFields(const RecordSet &rows, const QString &of, std::vector<KeyedRow> &shown)
{
    for (int i = 0; i < rows.fieldCount(); ++i) {
        const QString field = rows.fieldName(i);
        if (isSecret(field))
            continue;
        const bool tellsFault =
            field.startsWith(u"Last_", Qt::CaseInsensitive) && field.endsWith(u"Error", Qt::CaseInsensitive);
        const QString text = rows.isNull(i) ? QStringLiteral("NULL") : rows.text(i);
        const QString value = tellsFault ? maskedError(text) : text;
        shown.push_back({of + u'\t' + field,
                         {of, field, value},
                         (tellsFault && !value.isEmpty()) ||
                             (field.endsWith(u"_Running", Qt::CaseInsensitive) && value != u"Yes")});
    }
}

void addAllFields(RecordSet rows, const QString &what, std::vector<KeyedRow> &shown)
{
    for (int number = 1; rows.isOpen() && !rows.isEof(); rows.moveNext(), ++number)
        addFields(rows, what + QString::number(number), shown);
}

QString summaryOf(const ReplicationSource &source)
{
    QString text =
        QStringLiteral("%1: 受信 %2、適用 %3、遅れ %4")
            .arg(source.name.isEmpty() ? source.address
                                       : source.name + QStringLiteral(" (%1)").arg(source.address),
                 source.receiving, source.applying,
                 source.delay ? QStringLiteral("%1 秒").arg(*source.delay) : QStringLiteral("不明"));
    if (!source.error.isEmpty())
        text += QStringLiteral("。") + maskedError(source.error);
    return visibleText(text);
}

Overview::Answer readSources(Connection &connection)
{
    Overview::Answer answer;
    const ReplicationWords words = replicationWords(connection.server());
    RecordSet rows = connection.execute(words.question);
    QStringList running, stopped;
    for (; !rows.isEof(); rows.moveNext()) {
        const ReplicationSource source = replicationSourceOf(rows, words);
        (source.isRunning() || source.isOfGroup() ? running : stopped) << summaryOf(source);
        addFields(rows, QStringLiteral("接続 ") + (source.name.isEmpty() ? source.address : source.name),
                  answer.rows);
    }
    answer.problem = stopped.join(u'\n');
    answer.note = running.join(u'\n');
    return answer;
}

Overview::Answer readReplicas(Connection &connection)
{
    Overview::Answer answer;
    addAllFields(askOneOf(connection, {QStringLiteral("show replicas"), QStringLiteral("show slave hosts")}),
                 QStringLiteral("レプリカ "), answer.rows);
    answer.note = QStringLiteral("自分を登録したレプリカだけが見えます。");
    return answer;
}

// Galera tells of itself in its status, MySQL's groups in a table. MariaDB has the words of the former
// without a cluster, too, and no provider then.
Overview::Answer readCluster(Connection &connection)
{
    static const std::map<QString, QString> healthy{
        {QStringLiteral("wsrep_ready"), QStringLiteral("ON")},
        {QStringLiteral("wsrep_connected"), QStringLiteral("ON")},
        {QStringLiteral("wsrep_cluster_status"), QStringLiteral("Primary")},
        {QStringLiteral("wsrep_local_state_comment"), QStringLiteral("Synced")}};
    Overview::Answer answer;
    bool hasProvider = false;
    for (RecordSet rows = connection.execute(QStringLiteral("show global status like 'wsrep\\_%'"));
         !rows.isEof(); rows.moveNext()) {
        const QString name = rows.text(0), value = rows.text(1);
        hasProvider |= name == u"wsrep_provider_name" && !value.isEmpty();
        const auto wanted = healthy.find(name);
        const bool isMarked = wanted != healthy.end() && value != wanted->second;
        answer.rows.push_back({name, {QStringLiteral("Galera"), name, value}, isMarked});
    }
    if (!hasProvider)
        answer.rows.clear();
    const ServerInfo server = connection.server();
    if (!server.isMariaDb && server.number >= 50700)
        addAllFields(
            connection.execute(QStringLiteral("select * from performance_schema.replication_group_members "
                                              "where member_id <> ''")),
            QStringLiteral("メンバー "), answer.rows);
    return answer;
}

Overview::Answer readBinaryLogs(Connection &connection)
{
    constexpr int noBinaryLog = 1381;
    Overview::Answer answer;
    try {
        double bytes = 0;
        for (RecordSet rows = connection.execute(QStringLiteral("show binary logs")); !rows.isEof();
             rows.moveNext()) {
            bytes += rows.text(1).toDouble();
            answer.rows.push_back({rows.text(0), {rows.text(0), rows.text(1), textOf(rows, "Encrypted")}});
        }
        answer.note = QStringLiteral("合計 %1 MiB。").arg(bytes / (1024 * 1024), 0, 'f', 2);
        RecordSet now = askOneOf(
            connection, {QStringLiteral("show binary log status"), QStringLiteral("show master status")});
        if (!now.isEof())
            answer.note += QStringLiteral("今の位置: %1 の %2").arg(now.text(0), now.text(1));
        if (const QString gtids = textOf(now, "Executed_Gtid_Set"); !gtids.isEmpty())
            answer.note += QStringLiteral("、GTID %1").arg(gtids);
    } catch (const Failure &failure) {
        if (failure.number() != noBinaryLog)
            throw;
        answer.note = QStringLiteral("このサーバーはバイナリログを書いていません。");
    }
    return answer;
}

Overview::Answer readPlugins(Connection &connection)
{
    Overview::Answer answer;
    RecordSet rows = connection.execute(QStringLiteral("select * from information_schema.plugins"));
    for (; !rows.isEof(); rows.moveNext()) {
        const QString status = textOf(rows, "plugin_status");
        QStringList cells{textOf(rows, "plugin_name")};
        for (const char *field : {"plugin_type", "plugin_version", "load_option", "plugin_library",
                                  "plugin_maturity", "plugin_license", "plugin_description"})
            cells << textOf(rows, field);
        cells.insert(1, status);
        answer.rows.push_back({cells[0] + u'\t' + cells[2], cells, false});
    }
    return answer;
}

Overview::Answer readEngines(Connection &connection)
{
    Overview::Answer answer;
    RecordSet rows = connection.execute(QStringLiteral("select * from information_schema.engines"));
    for (; !rows.isEof(); rows.moveNext()) {
        const QString support = textOf(rows, "support");
        answer.rows.push_back({textOf(rows, "engine"),
                               {textOf(rows, "engine"), support, textOf(rows, "transactions"),
                                textOf(rows, "xa"), textOf(rows, "savepoints"), textOf(rows, "comment")},
                               support == u"DEFAULT"});
    }
    return answer;
}

} // namespace

std::vector<Overview> replicationOverviews()
{
    const std::vector<KeyedColumn> fields{
        {QStringLiteral("対象")}, {QStringLiteral("項目")}, {QStringLiteral("値")}};
    return {{"replicationList", QStringLiteral("受けている変更"), fields, readSources,
             QStringLiteral("このサーバーは他のサーバーの変更を受けていません")},
            {"replicaList", QStringLiteral("レプリカ"), fields, readReplicas,
             QStringLiteral("登録されたレプリカはありません")},
            {"clusterList", QStringLiteral("クラスター"), fields, readCluster,
             QStringLiteral("このサーバーはクラスターに属していません")},
            {"binaryLogList",
             QStringLiteral("バイナリログ"),
             {{QStringLiteral("ファイル")}, {QStringLiteral("バイト"), true}, {QStringLiteral("暗号化")}},
             readBinaryLogs,
             QStringLiteral("バイナリログはありません")}};
}

std::vector<Overview> moduleOverviews()
{
    return {{"pluginList",
             QStringLiteral("プラグイン"),
             {{QStringLiteral("名前")},
              {QStringLiteral("状態")},
              {QStringLiteral("種類")},
              {QStringLiteral("版")},
              {QStringLiteral("読み込み")},
              {QStringLiteral("ライブラリー")},
              {QStringLiteral("成熟度")},
              {QStringLiteral("ライセンス")},
              {QStringLiteral("説明")}},
             readPlugins},
            {"engineList",
             QStringLiteral("ストレージエンジン"),
             {{QStringLiteral("名前")},
              {QStringLiteral("対応")},
              {QStringLiteral("トランザクション")},
              {QStringLiteral("XA")},
              {QStringLiteral("セーブポイント")},
              {QStringLiteral("説明")}},
             readEngines}};
}
