#pragma once

#include "core/sql/connection.h"
#include "core/sql/tabledefinition.h"

#include <QStringList>

// From one definition of a table to another by ALTER TABLE, without a server.

// Old names of columns and the new ones.
using Renames = QMap<QString, QString>;

struct AlteredTable {
    QString database, name; // as it stands on the server
    ServerInfo server;
    SqlMode mode; // in which both texts read
};

// A column that the new text no longer has, where it has others instead.
struct LostColumn {
    QString name;
    QStringList candidates; // new columns that it may have become
    int guess = -1;         // the one of the same type at the same place; -1: none
};
std::vector<LostColumn> lostColumns(const TableDefinition &from, const TableDefinition &to, SqlMode mode);

// The statements that make the one table the other, in order: mostly one, none where nothing differs. What
// the new text does not say of ENGINE, AUTO_INCREMENT and the default character set stays as it is.
QStringList alterStatements(const TableDefinition &from, const TableDefinition &to, const Renames &renames,
                            const AlteredTable &table);

// What is lost with its values or rows if the statement runs: "a", "パーティション p".
QStringList droppedBy(const QString &statement, SqlMode mode);

// One line for each part or option in which the two differ, behind the mark of the one that says it so.
QStringList differences(const TableDefinition &is, const TableDefinition &wanted, SqlMode mode,
                        const QString &isMark = QStringLiteral("サーバー: "),
                        const QString &wantedMark = QStringLiteral("編集した文: "));
