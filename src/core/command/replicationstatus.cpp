#include "core/command/replicationstatus.h"

#include <algorithm>

ReplicationWords replicationWords(const ServerInfo &server)
{
    if (!server.isMariaDb && server.number >= 80022)
        return {QStringLiteral("show replica status"), QStringLiteral("Source_"), QStringLiteral("Replica_")};
    // MariaDB tells of its several sources with ALL only.
    return {server.isMariaDb && server.number >= 100000 ? QStringLiteral("show all slaves status")
                                                        : QStringLiteral("show slave status"),
            QStringLiteral("Master_"), QStringLiteral("Slave_")};
}

std::optional<double> readReplicationDelay(Connection &connection)
{
    const ReplicationWords words = replicationWords(connection.server());
    const QString name =
        QStringLiteral("Seconds_Behind_") + words.source.chopped(1); // without its underscore
    std::optional<double> longest;
    for (RecordSet rows = connection.execute(words.question); !rows.isEof(); rows.moveNext()) {
        const int field = rows.fieldIndex(name);
        if (field >= 0 && !rows.isNull(field))
            longest = std::max(longest.value_or(0), rows.text(field).toDouble());
    }
    return longest;
}
