#pragma once

#include "core/sql/connection.h"
#include "core/sql/lexer.h"

#include <QStringList>

#include <vector>

// Without its name: "FOREIGN KEY (`a`) REFERENCES ", the table, " (`id`) ON DELETE CASCADE".
struct SideForeignKey {
    QString head;
    QString parent; // without quotes; empty: one of another database, which stands in the tail
    QString tail;
};

// A table that is made under another name before it takes the place of the one whose name it is to have.
struct SideTable {
    QString create;
    // What only one table of a database may have at a time, for ALTER TABLE once the old one is gone.
    QStringList clauses;
    QStringList foreignKeys;          // names of constraints among them
    std::vector<SideForeignKey> keys; // the same ones
};

// From the server's own CREATE text.
SideTable sideTable(const QString &createText, const QString &sideName, SqlMode mode,
                    const ServerInfo &target);
