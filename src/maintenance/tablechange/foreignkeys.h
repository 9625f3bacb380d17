#pragma once

#include "core/sql/connection.h"

#include <vector>

// A foreign key or check as the server words it in the CREATE text of the table that holds it.
struct Constraint {
    QString table;  // quoted, with its database
    QString name;   // quoted
    QString clause; // "FOREIGN KEY (...) REFERENCES ...", "CHECK (...)"

    QString dropStatement() const;
    QString addStatement() const;
    QStringList referencedColumns() const; // quoted
    // Counts the rows whose value the other table does not have; `database` is that of the key's table.
    QString orphansStatement(const QString &database) const;
};

std::vector<Constraint> foreignKeysIn(const QString &quotedTable, const QString &createText);
// Checks that bear a name of their own.
std::vector<Constraint> checksIn(const QString &quotedTable, const QString &createText);
// Foreign keys of other tables that point to the table.
std::vector<Constraint> incomingForeignKeys(Connection &connection, const QString &database,
                                            const QString &table);
// Those of `present` that `restored` has not, under a name that is free there (empty: the server's choice).
std::vector<Constraint> missingForeignKeys(const std::vector<Constraint> &present,
                                           const std::vector<Constraint> &restored);
