#pragma once

#include "core/command/sessionvariables.h"
#include "core/sql/connection.h"

#include <vector>

// How a column's values leave the server and come back, so that each is what it was.
enum class ValueForm {
    Plain, // as the server words it
    Real,  // with all digits: FLOAT is worded with six
    Bytes, // as bytes: no text holds them safely
    Words  // types without a character set of their own that take a bare byte string for something else
};

struct StoredColumn {
    QString name;
    ValueForm form;
    bool isNumbered = false;  // AUTO_INCREMENT
    QString type = {};        // DATA_TYPE in small letters
    bool isInvisible = false; // "select *" and an INSERT without names leave it out
};

// Letters, though some character sets are sent as bytes.
bool isOfText(const StoredColumn &column);

// characterSet is empty for columns that have none.
ValueForm valueForm(const QString &dataType, const QString &characterSet);

// Generated columns take no values: the server refuses them in a column list (1906, MySQL 3105).
bool isGenerated(const QString &extra);

// What a table's rows are made of.
struct StoredColumns {
    std::vector<StoredColumn> columns; // those that hold values of their own, in order
    bool hasGenerated = false;         // others stand among them
};
StoredColumns readStoredColumns(Connection &connection, const QString &database, const QString &table);

// The columns alone; throws Failure when there are none.
std::vector<StoredColumn> storedColumns(Connection &connection, const QString &database,
                                        const QString &table);

// Session settings under which values and definitions leave the server and come back unchanged.
std::vector<SessionVariable> exactVariables(const ServerInfo &server);
