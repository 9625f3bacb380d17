#pragma once

#include "core/sql/connection.h"

#include <optional>

// The statement by which a replica tells of all its sources, and what its columns call them: MySQL has other
// words since 8.0.22, and since 8.4 it knows no others.
struct ReplicationWords {
    QString question, source, replica; // "show slave status", "Master_", "Slave_"
};
ReplicationWords replicationWords(const ServerInfo &server);

// By how many seconds the server is behind its sources, the farthest one; none where it replicates from none.
// Throws Failure.
std::optional<double> readReplicationDelay(Connection &connection);
