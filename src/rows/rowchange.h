#pragma once

#include "rows/tableshape.h"

#include <map>

// One row that is to be changed on the server: by value, so that what is saved is what was edited at the
// click.
struct RowChange {
    enum class Kind { Changed, Added, Deleted };
    Kind kind = Kind::Changed;
    int row = 0;                    // its number among the rows of the grid
    std::vector<RowValue> before;   // every column as it was read; empty for an added row
    std::map<int, RowValue> values; // by column: what is to be there
};

// The statements of a change. Each names the columns that change and nothing else, and finds its row by the
// key and by every value that was read.
QString updateStatement(const TableShape &table, const RowChange &change);
QString insertStatement(const TableShape &table, const RowChange &change);
QString deleteStatement(const TableShape &table, const RowChange &change);
QString statementOf(const TableShape &table, const RowChange &change);

// What takes the change back once the row holds `after`, every column as it was read again; empty for a
// deleted row.
RowChange inverseOf(const TableShape &table, const RowChange &change, const std::vector<RowValue> &after);

// What takes all of them back, the last one first. By change: its row as it was, where more is known than was
// read, and as it became; a change without the latter was not made.
std::vector<RowChange> inverseOf(const TableShape &whole, const std::vector<RowChange> &changes,
                                 const std::map<std::size_t, std::vector<RowValue>> &exact,
                                 const std::map<std::size_t, std::vector<RowValue>> &after);

// A condition for the row that holds these values; with the values or by the key alone.
QString sameRow(const TableShape &table, const std::vector<RowValue> &values);
QString sameKey(const TableShape &table, const std::vector<RowValue> &values);
