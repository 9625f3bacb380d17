#pragma once

#include "core/sql/connection.h"

#include <QStringList>

// The tables and columns of the connection's database, by turns: table, column, table, column.
QStringList readColumnNames(Connection &connection);
