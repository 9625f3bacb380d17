#pragma once

#include "core/native/wirewatch.h"
#include "core/odbc/odbchandle.h"

#include <QString>

#include <chrono>

struct OdbcConnection {
    OdbcConnectionHandle handle;
    Encryption encryption;
    // The driver's own handle on MariaDB's client library; null for a driver with a library of its own.
    MYSQL *library = nullptr;
};
// Connects by a complete connection string. Throws SqlError.
OdbcConnection connectOdbc(const OdbcEnvironment &environment, const QString &connectionString,
                           const TlsOptions &tls, std::chrono::seconds limit);
// Runs one statement on a new statement handle. Throws SqlError.
OdbcStatementHandle sendOdbc(const OdbcConnectionHandle &connection, const QString &statement);
