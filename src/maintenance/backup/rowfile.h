#pragma once

#include "core/command/storedcolumns.h"

// The server writes all rows into the file, which must not exist, and reads them back. The table is given
// quoted, the path as it is.
QString writeRowsStatement(const QString &table, const std::vector<StoredColumn> &columns,
                           const QString &path);
QString readRowsStatement(const QString &table, const std::vector<StoredColumn> &columns,
                          const QString &path);
