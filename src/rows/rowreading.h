#pragma once

#include "core/sql/connection.h"
#include "rows/rowchange.h"

// Reading single rows again, by their keys.

// A condition that finds the row as its key tells it from others, also where the server has put the value
// into its own form.
QString keyCondition(const TableShape &table, const std::vector<RowValue> &values);
// The rows of a SELECT over all columns of the table. `tail` begins behind its FROM. isExact: with FLOATs in
// all their digits.
std::vector<std::vector<RowValue>> selectRows(Connection &connection, const TableShape &table,
                                              const QString &tail, bool isExact = false);
// Those of the rows that exist, by the bytes of their key. A few statements for any number of them.
std::map<QByteArray, std::vector<RowValue>> rowsByKey(Connection &connection, const TableShape &table,
                                                      const std::vector<std::vector<RowValue>> &rows,
                                                      const QString &lock, bool isExact = false);
QByteArray keyBytes(const TableShape &table, const std::vector<RowValue> &values);
// How one row stands on the server: as before a change, or as after it; empty: it was, or is, not there.
enum class Standing { Before, After, Unclear };
Standing standingOf(Connection &connection, const TableShape &table, const std::vector<RowValue> &before,
                    const std::vector<RowValue> &after);
// Whether this very row is there.
bool isOnServer(Connection &connection, const TableShape &table, const std::vector<RowValue> &values);
