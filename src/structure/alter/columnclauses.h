#pragma once

#include "structure/alter/tablealter.h"

// The clauses of an ALTER TABLE that concern columns.
struct ColumnClauses {
    QStringList drops, others;
    QStringList madeAgain; // dropped and added, since no server turns them into what they are to be
};
// takesCharacterSet: the table gets another default, which columns without one of their own are to take.
ColumnClauses columnClauses(const std::vector<TablePart> &from, const std::vector<TablePart> &to,
                            const Renames &renames, bool takesCharacterSet, SqlMode mode);

// Whether both say the same of a column. DEFAULT NULL goes without saying, and a collation says its character
// set, which MySQL 8 and 9 name or not by how the column came to it. A width that only one of them names is
// the server's.
bool isSameColumn(const QString &left, const QString &right, SqlMode mode);
