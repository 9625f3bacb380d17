#pragma once

#include "core/sql/connection.h"

#include <optional>
#include <vector>

// The statement by which a replica tells of all its sources, and what its columns call them: MySQL has other
// words since 8.0.22, and since 8.4 it knows no others.
struct ReplicationWords {
    QString question, source, replica; // "show slave status", "Master_", "Slave_"
};
ReplicationWords replicationWords(const ServerInfo &server);

// One of the servers that a replica takes its changes from.
struct ReplicationSource {
    QString name;                // of the connection or channel; empty where there is but one
    QString address;             // "host:port"
    QString receiving, applying; // "Yes", "No", "Connecting", ...
    std::optional<double> delay; // seconds; none while one of both does not run: what is told then is 0
    QString error;

    // Of MySQL's group replication, whose members have other ways to be up to date.
    bool isOfGroup() const { return name.startsWith(u"group_replication_"); }
    bool isRunning() const { return receiving == u"Yes" && applying == u"Yes"; }
};
// Of the row that `rows` stands on.
ReplicationSource replicationSourceOf(const RecordSet &rows, const ReplicationWords &words);
// None where the server replicates from none. Throws Failure.
std::vector<ReplicationSource> readReplicationSources(Connection &connection);
