#pragma once

#include "core/driver/native/wirewatch.h"
#include "core/driver/odbc/odbchandle.h"

#include <QString>

#include <chrono>

struct OdbcConnection {
    OdbcConnectionHandle handle;
    Encryption encryption;
    // The driver's own handle on MariaDB's client library; null for a driver with a library of its own.
    MYSQL *library = nullptr;
};
// Connects by a complete connection string. Throws Failure.
OdbcConnection connectOdbc(const OdbcEnvironment &environment, const QString &connectionString,
                           const TlsOptions &tls, std::chrono::seconds limit);
// Runs one statement on a new statement handle. Throws Failure. With sparesUnknownTypes, a statement whose
// result has a column of a type that the driver does not know is not run: the handle is null.
OdbcStatementHandle sendOdbc(const OdbcConnectionHandle &connection, const QString &statement,
                             bool sparesUnknownTypes = false);
