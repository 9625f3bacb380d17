#pragma once

#include "core/sql/answers.h"

#include <QStringList>

// For questions that several pages ask. All throw Failure.

// The answer to the first of the statements that the server understands: their words have changed with its
// versions.
RecordSet askOneOf(Connection &connection, const QStringList &statements);
// Without a global SELECT the server leaves out tables, and does not say so. Empty: it is there.
QString unseenTables(Connection &connection);
// "sys", "mysql" and the like, as a list for "in (...)".
QString systemSchemas();
