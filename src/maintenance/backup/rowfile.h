#pragma once

#include "core/command/sessionvariables.h"
#include "core/sql/connection.h"

#include <vector>

// How a column's values stand in a row file, so that each comes back as it was.
enum class ValueForm {
    Plain, // as the server words it
    Real,  // with all digits: FLOAT is worded with six
    Bytes, // hex digits: the file's escapes are not safe for them
    Words  // hex digits of its text: types that take a bare byte string for something else
};

struct StoredColumn {
    QString name;
    ValueForm form;
    bool isNumbered = false; // AUTO_INCREMENT
};

// characterSet is empty for columns that have none.
ValueForm valueForm(const QString &dataType, const QString &characterSet);

// The columns that hold values of their own, in order; generated ones are left out.
std::vector<StoredColumn> storedColumns(Connection &connection, const QString &database,
                                        const QString &table);

// The server writes all rows into the file, which must not exist, and reads them back. The table is given
// quoted, the path as it is.
QString writeRowsStatement(const QString &table, const std::vector<StoredColumn> &columns,
                           const QString &path);
QString readRowsStatement(const QString &table, const std::vector<StoredColumn> &columns,
                          const QString &path);

// Session settings under which values and definitions leave the server and come back unchanged.
std::vector<SessionVariable> exactVariables(const ServerInfo &server);
