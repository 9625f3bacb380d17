#pragma once

#include "core/sql/connection.h"

#include <QStringList>

#include <optional>

// For questions that several pages ask. All throw Failure.

// The text of a field, empty for NULL and for a field that this server does not have.
QString textOf(const RecordSet &rows, const char *field);
// Of the first row; empty without one.
QString firstText(Connection &connection, const QString &statement);
// The answer to the first of the statements that the server understands: their words have changed with its
// versions.
RecordSet askOneOf(Connection &connection, const QStringList &statements);
// Without a global SELECT the server leaves out tables, and does not say so. Empty: it is there.
QString unseenTables(Connection &connection);
// "sys", "mysql" and the like, as a list for "in (...)".
QString systemSchemas();
