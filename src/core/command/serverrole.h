#pragma once

#include "core/sql/connection.h"

#include <QStringList>

// Of Galera or of a replication group: what one server of it does, the others do as well.
struct Cluster {
    QString name;                // empty: the server is in none
    bool isGalera = false;       // else a replication group
    bool hasManyWriters = false; // other members take changes, too

    bool isMember() const { return !name.isEmpty(); }
    bool isGroup() const { return isMember() && !isGalera; } // refuses rows of tables without a key (3098)
};
// Throws Failure only when the connection is lost or the statement was stopped.
Cluster clusterOf(Connection &connection);

// What a server is among others, as far as it tells the account: what may not be read counts as no.
struct ServerRole {
    bool isReadOnly = false; // it takes changes only from accounts with special rights
    QStringList sources;     // "host:port" of the servers whose changes it applies now
    Cluster cluster;

    bool isReplica() const { return !sources.isEmpty(); }
    // What is changed here is missing elsewhere, or is overwritten from there.
    bool isForReading() const { return isReadOnly || isReplica(); }
};

// Asks the server, with SHOW statements that all versions know. Throws Failure only when the connection is
// lost or the statement was stopped.
ServerRole readServerRole(Connection &connection);
// For the user: "読み取り専用、db1:3306 のレプリカ"; empty for a server that stands alone.
QString roleText(const ServerRole &role);
