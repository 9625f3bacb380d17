#pragma once

#include "core/sql/connection.h"

// A table's columns in a statement. They are named only where the table has some that "*" leaves out
// (INVISIBLE); the key that MySQL makes for tables without one (my_row_id) is none of the user's. Servers
// without such columns are not asked.

// "*" or "`a`,`b`"
QString selectedColumns(Connection &connection, const QString &database, const QString &table);
// For LOAD DATA of what was selected so: nothing, or " (`a`,@generated)". Generated columns take no values.
QString loadedColumns(Connection &connection, const QString &database, const QString &table);
