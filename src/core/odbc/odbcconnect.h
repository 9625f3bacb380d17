#pragma once

#include "core/odbc/odbchandle.h"

#include <QString>

// Connects by a complete connection string; `seconds` is how long that may take. Throws SqlError.
OdbcConnectionHandle connectOdbc(const OdbcEnvironment &environment, const QString &connectionString,
                                 int seconds);
// Runs one statement on a new statement handle. Throws SqlError.
OdbcStatementHandle sendOdbc(const OdbcConnectionHandle &connection, const QString &statement);
