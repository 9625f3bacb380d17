#pragma once

#include "core/sql/lexer.h"

#include <QByteArray>
#include <QString>

// Whose rows a statement gives.
struct SelectedTable {
    QString database; // empty: the default one
    QString name;     // empty: the rows are not those of one table
    QString why;      // then; for the user
};

// Of a SELECT whose rows are rows of one table as they are, under its columns' own names: none that joins,
// groups or computes, or gives a column another name. In doubt it is not one.
SelectedTable selectedTable(const QByteArray &statement, SqlMode mode);

// The database that a USE chooses; empty for every other statement.
QString databaseOfUse(const QByteArray &statement, SqlMode mode);
