#pragma once

#include "core/driver/workerdriver.h"

#include <QString>

#include <mysql.h>

// Runs a statement that the ODBC driver cannot, as plain text over the driver's own handle on MariaDB's
// client library, and takes in its first result; null when it gave no rows. Connector/ODBC 3.1.15 leaves the
// rows of statements unread whose first word it does not know, and sends others as prepared ones, which
// servers refuse (error 1295: CHECK TABLE, SHOW WARNINGS and EXECUTE among them) or which lose their values
// (VECTOR).
std::unique_ptr<DriverResult> executeAsText(MYSQL *library, const QString &statement);
// The result that the library has come to, its rows read into memory; null: one without rows.
std::unique_ptr<DriverResult> storedResult(MYSQL *library);
