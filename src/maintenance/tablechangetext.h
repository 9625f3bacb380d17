#pragma once

#include "core/session.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <vector>

// The texts of a table change, without a server.

// The table name that a CREATE text gives, as written there, backticks included; empty when there is none.
QString fField_select(const QString &createText);
// A table that the session takes along when it ends.
bool createsTemporaryTable(const QString &createText);

// Whether a table's definition in the server's words is still the one that was shown; a counter that has
// gone on is no other definition.
bool isAsShown(const QString &serverText, const QString &shownText);

// The qualified name of the data copy: the table's name, the minute, a fixed suffix.
QString copyName(const QString &database, const QString &table, const QDateTime &now);

// Generated columns take no values: the server refuses them in a column list (1906, MySQL 3105).
bool isGenerated(const QString &extra);

// The names, in the new order and each followed by ",", of the columns that both tables have.
QString commonColumns(const std::vector<FieldRec> &newFields, const std::vector<FieldRec> &oldFields);

// The columns of the old table, as far as "select *" does not do them justice.
struct OldColumns {
    QStringList stored;    // those that take values
    QStringList invisible; // those that "select *" leaves out
    bool areSpecial = false;

    void add(const QString &name, const QString &extra);
};
// Whether a CREATE text of the server may hold generated or invisible columns. Says yes too often rather
// than too seldom: the columns themselves decide then.
bool mayHaveSpecialColumns(const QString &serverText);
// How many columns a CREATE text of the server has.
qsizetype columnCount(const QString &serverText);
// Whether values of 0 in the table's key have to be kept from being numbered anew.
bool hasAutoIncrement(const QString &serverText);

QString copyStatement(const QString &copy, const QString &table, const OldColumns &columns);
QString fillStatement(const QString &table, const QString &copy, const QString &commonColumns);
QString copyBackStatement(const QString &table, const QString &copy, const OldColumns &columns);
