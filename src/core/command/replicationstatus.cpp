#include "core/command/replicationstatus.h"

ReplicationWords replicationWords(const ServerInfo &server)
{
    if (!server.isMariaDb && server.number >= 80022)
        return {QStringLiteral("show replica status"), QStringLiteral("Source_"), QStringLiteral("Replica_")};
    // MariaDB tells of its several sources with ALL only.
    return {server.isMariaDb && server.number >= 100000 ? QStringLiteral("show all slaves status")
                                                        : QStringLiteral("show slave status"),
            QStringLiteral("Master_"), QStringLiteral("Slave_")};
}

ReplicationSource replicationSourceOf(const RecordSet &rows, const ReplicationWords &words)
{
    const auto text = [&rows](const QString &field) {
        const int index = rows.fieldIndex(field);
        return index < 0 || rows.isNull(index) ? QString() : rows.text(index);
    };
    ReplicationSource source;
    source.name = text(QStringLiteral("Connection_name"));
    if (source.name.isEmpty())
        source.name = text(QStringLiteral("Channel_Name"));
    source.address =
        text(words.source + QStringLiteral("Host")) + u':' + text(words.source + QStringLiteral("Port"));
    source.receiving = text(words.replica + QStringLiteral("IO_Running"));
    source.applying = text(words.replica + QStringLiteral("SQL_Running"));
    for (const char *field : {"Last_IO_Error", "Last_SQL_Error"})
        if (source.error.isEmpty())
            source.error = text(QLatin1String(field));
    // Without its underscore. Where nothing arrives, all that has arrived is applied: the server tells of 0
    // seconds.
    const QString seconds = text(QStringLiteral("Seconds_Behind_") + words.source.chopped(1));
    if (source.isRunning() && !seconds.isEmpty())
        source.delay = seconds.toDouble();
    return source;
}

std::vector<ReplicationSource> readReplicationSources(Connection &connection)
{
    const ReplicationWords words = replicationWords(connection.server());
    std::vector<ReplicationSource> sources;
    for (RecordSet rows = connection.execute(words.question); !rows.isEof(); rows.moveNext())
        sources.push_back(replicationSourceOf(rows, words));
    return sources;
}
