#pragma once

#include "core/sql/connection.h"

// What a table is beyond its name: some have rows that are not theirs, or a history that no copy takes along.
struct TableKind {
    QString type;   // "BASE TABLE", "VIEW", "SEQUENCE", "SYSTEM VERSIONED", ...; empty: there is none
    QString engine; // empty for views
};
TableKind tableKind(Connection &connection, const QString &database, const QString &name);

// The server's CREATE text of a table or view. Throws Failure, also when there is none.
QString createText(Connection &connection, const QString &database, const QString &name);
// As a CREATE text of the server names it; empty when it does not.
QString engineIn(const QString &createText);

// A table that is made of others, in the same server.
bool isMerge(const QString &engine);
// The rows are those of other tables, servers or files: filling the table would write them there once more.
bool keepsRowsElsewhere(const QString &engine);
// Whether a change of rows reaches the other nodes of a Galera or replication group.
bool isReplicatedInClusters(const QString &engine);
