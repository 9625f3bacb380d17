#pragma once

#include "core/connection.h"

#include <vector>

// A foreign key as the server words it in the CREATE text of the table that holds it.
struct ForeignKey {
    QString table;  // quoted, with its database
    QString name;   // quoted
    QString clause; // "FOREIGN KEY (...) REFERENCES ..."

    QString dropStatement() const;
    QString addStatement() const;
};

std::vector<ForeignKey> foreignKeysIn(const QString &quotedTable, const QString &createText);
// Those of other tables that point to the table.
std::vector<ForeignKey> incomingForeignKeys(Connection &connection, const QString &database,
                                            const QString &table);
// Those of `present` that `restored` has not, under a name that is free there (empty: the server's choice).
std::vector<ForeignKey> missingForeignKeys(const std::vector<ForeignKey> &present,
                                           const std::vector<ForeignKey> &restored);
