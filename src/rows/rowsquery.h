#pragma once

#include "rows/tableshape.h"

// One column of an order of rows.
struct OrderColumn {
    int column;
    bool isDescending = false;
};

// Which rows of a table are to be read, beyond the first ones.
struct RowsQuery {
    enum class Place {
        First,
        After,  // the row
        Before, // the row
        Number  // so many rows are passed over
    };
    QString where, order; // in the user's words; empty: none
    int limit = 100;
    Place place = Place::First;
    std::vector<RowValue> row = {};
    qint64 number = 0;
};

// Why a part of the query cannot be what the user means: an open quote or comment, a second statement.
QString whyNoCondition(const QString &text);

// The order that goes on from any row: by the user's columns, then by the key. Nothing where the rows of a
// page can only be counted: no key, an expression, or values that do not compare as they stand.
std::optional<std::vector<OrderColumn>> seekableOrder(const TableShape &table, const QString &order);

// The statement; without a condition, an order and a place it is the caller's to write.
QString rowsStatement(const TableShape &table, const RowsQuery &query);
bool isPlain(const RowsQuery &query);
