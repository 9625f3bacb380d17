#include "core/command/serverrole.h"

#include "core/command/replicationstatus.h"

#include <map>

namespace {

using Variables = std::map<QString, QString>;

// A refusal means that the server does not know the question, or that the account may not ask it.
RecordSet answerTo(Connection &connection, const QString &question)
{
    try {
        return connection.execute(question);
    } catch (const Failure &error) {
        if (error.isConnectionLost() || error.isInterrupted())
            throw;
        return {};
    }
}

Variables readVariables(Connection &connection)
{
    Variables values;
    RecordSet rows = answerTo(
        connection, QStringLiteral("show global variables where Variable_name in ('read_only', "
                                   "'super_read_only', 'innodb_read_only', 'wsrep_on', 'wsrep_provider', "
                                   "'wsrep_cluster_name', 'group_replication_group_name', "
                                   "'group_replication_single_primary_mode')"));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        values[rows.text(0).toLower()] = rows.text(1);
    return values;
}

bool isOn(const Variables &variables, const QString &name)
{
    const auto found = variables.find(name);
    // MariaDB 12 knows several degrees of a read_only that is on.
    return found != variables.end() && found->second != u"OFF" && found->second != u"0";
}

QString nameIn(const Variables &variables, const QString &name)
{
    const auto found = variables.find(name);
    return found == variables.end() || found->second == u"NULL" || found->second == u"none" ? QString()
                                                                                            : found->second;
}

Cluster clusterOf(const Variables &variables)
{
    // wsrep_on alone says nothing: some builds have it on without any provider.
    if (isOn(variables, QStringLiteral("wsrep_on")) &&
        !nameIn(variables, QStringLiteral("wsrep_provider")).isEmpty())
        return {nameIn(variables, QStringLiteral("wsrep_cluster_name")), true, true};
    const QString group = nameIn(variables, QStringLiteral("group_replication_group_name"));
    const bool hasOnePrimary = isOn(variables, QStringLiteral("group_replication_single_primary_mode"));
    return {group, false, !group.isEmpty() && !hasOnePrimary};
}

QStringList readSources(Connection &connection)
{
    const ReplicationWords words = replicationWords(connection.server());
    RecordSet rows = answerTo(connection, words.question);
    QStringList sources;
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        // A group's own channels: its members are not replicas of each other.
        const int channel = rows.fieldIndex(QStringLiteral("Channel_Name"));
        if (channel >= 0 && rows.text(channel).startsWith(u"group_replication_"))
            continue;
        if (rows.text(words.replica + QStringLiteral("IO_Running")) != u"No" ||
            rows.text(words.replica + QStringLiteral("SQL_Running")) != u"No")
            sources << rows.text(words.source + QStringLiteral("Host")) + u':' +
                           rows.text(words.source + QStringLiteral("Port"));
    }
    return sources;
}

} // namespace

Cluster clusterOf(Connection &connection)
{
    return clusterOf(readVariables(connection));
}

ServerRole readServerRole(Connection &connection)
{
    const Variables variables = readVariables(connection);
    ServerRole role;
    role.isReadOnly = isOn(variables, QStringLiteral("read_only")) ||
                      isOn(variables, QStringLiteral("super_read_only")) ||
                      isOn(variables, QStringLiteral("innodb_read_only"));
    role.cluster = clusterOf(variables);
    role.sources = readSources(connection);
    return role;
}

QString roleText(const ServerRole &role)
{
    QStringList words;
    if (role.isReadOnly)
        words << QStringLiteral("読み取り専用");
    if (role.isReplica())
        words << role.sources.join(QStringLiteral(" と ")) + QStringLiteral(" のレプリカ");
    if (role.cluster.isMember())
        words << QStringLiteral("クラスタの一員");
    return words.join(QStringLiteral("、"));
}
