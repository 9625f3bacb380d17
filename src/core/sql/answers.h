#pragma once

#include "core/sql/connection.h"

// What single values of an answer say. All throw Failure.

// The first value of the statement's first row; empty for NULL, and where there is no row.
QString firstText(Connection &connection, const QString &statement);
// Of the current row; empty for NULL, and for a field that this server does not have.
QString textOf(const RecordSet &rows, const char *field);
