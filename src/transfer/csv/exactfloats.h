#pragma once

#include "core/sql/connection.h"

#include <QString>

#include <string>
#include <vector>

// A server words a FLOAT with six digits: 16777216 as 16777200. As a DOUBLE it has them all.

// A SELECT of the rows of one table, as it is to be sent.
struct ExactSelect {
    QString statement;
    std::vector<int> floats; // the columns that are worded as DOUBLE; empty: none, the statement is as it was
    std::vector<QString> names; // of these
    QStringList leftOut;        // the columns of the table that "*" does not stand for
};
ExactSelect exactSelect(Connection &connection, const QString &statement);

// The shortest word that a server reads as the same FLOAT: "0.1" of the DOUBLE 0.10000000149011612. What is
// no FLOAT stays as it is.
std::string shortFloat(std::string_view wordOfDouble);
