#pragma once

#include "core/session/connectionprofile.h"
#include "core/sql/connection.h"
#include "rows/rowvalue.h"

#include <vector>

// Rows of one table that name rows of another one.
struct ForeignKey {
    QString name;
    QString fromDatabase, fromTable;
    QStringList fromColumns;
    QString toDatabase, toTable;
    QStringList toColumns;
    bool changesRows = false; // CASCADE or SET NULL: the server changes the rows that refer to a changed one
};

// What the server says of a table, as far as showing and changing its rows needs it.
struct TableShape {
    QString database, name;
    std::vector<TableColumn> columns; // those that are read; at first in the order of "select *"
    std::vector<TableColumn> unread;  // those that are not: invisible ones, and what a SELECT leaves out
    std::vector<int> key;             // the columns that tell one row from every other; empty: there are none
    QString engine;
    bool isTransactional = true;
    qint64 approximateRows = -1;        // as the server guesses; -1: it does not
    QString whyReadOnly;                // words for the user; empty: rows can be changed
    std::vector<ForeignKey> references; // from this table

    QString qualified() const;
    // The column of that name, as the server compares names; -1: none.
    int indexOf(const QString &column) const;
};

// Reads it. A view, a table without a key and the like are read-only; throws Failure when the server
// refuses.
TableShape readTableShape(Connection &connection, const QString &database, const QString &name);

// The foreign keys of other tables, and of its own, that refer to it. May take long where there are many
// tables.
std::vector<ForeignKey> readReferrers(Connection &connection, const TableShape &table);

// The same for rows that hold only some of the columns, in another order: read-only where the key is not
// among them.
TableShape shapeOfColumns(const TableShape &table, const QStringList &columns);

// Read-only, too, where the connection is.
void heedConnection(TableShape &table, const ConnectionProfile &profile);

// The table as it is read with all its columns.
TableShape withUnreadColumns(TableShape table);
