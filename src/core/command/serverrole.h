#pragma once

#include "core/sql/connection.h"

#include <QStringList>

// What a server is among others, as far as it tells the account: what may not be read counts as no.
struct ServerRole {
    bool isReadOnly = false;      // it takes changes only from accounts with special rights
    QStringList sources;          // "host:port" of the servers whose changes it applies now
    bool isClusterMember = false; // of Galera or of a group: what it does, the other members do as well

    bool isReplica() const { return !sources.isEmpty(); }
    // What is changed here is missing elsewhere, or is overwritten from there.
    bool isForReading() const { return isReadOnly || isReplica(); }
};

// Asks the server, with SHOW statements that all versions know. Throws Failure only when the connection is
// lost or the statement was stopped.
ServerRole readServerRole(Connection &connection);
// For the user: "読み取り専用、db1:3306 のレプリカ"; empty for a server that stands alone.
QString roleText(const ServerRole &role);
// The half of it that accounts and tables ask for: one statement.
bool isClusterMember(Connection &connection);
