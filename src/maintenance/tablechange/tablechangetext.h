#pragma once

#include "core/session/session.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <vector>

// The texts of a table change, without a server.

// The table name that a CREATE text gives, as written there, backticks included; empty when there is none.
QString fField_select(const QString &createText);
// A table that the session takes along when it ends.
bool createsTemporaryTable(const QString &createText);

// The qualified name of the data copy: the table's name, the minute, a fixed suffix.
QString copyName(const QString &database, const QString &table, const QDateTime &now);

// The names, in the new order and each followed by ",", of the columns that both tables have; in backticks
// where the edited text writes them so.
QString commonColumns(const std::vector<FieldRec> &newFields, const std::vector<FieldRec> &oldFields,
                      const QString &editedText);

// The columns of the old table, as far as "select *" does not do them justice.
struct OldColumns {
    QStringList stored;    // those that take values
    QStringList invisible; // those that "select *" leaves out
    QStringList values;    // of the stored ones, so that no digit is lost on the way to a text
    bool areSpecial = false;

    void add(const QString &name, const QString &type, const QString &extra);
};
// Whether the text has a clause CHECK (...) that the old one has not.
bool hasNewCheck(const QString &editedText, const QString &oldText);

// " select * from ..." with all that a copy has to hold.
QString selectOf(const QString &table, const OldColumns &columns);
// Gives the number of rows and a sum over all their values.
QString checksumStatement(const QString &table, const OldColumns &columns);
QString copyStatement(const QString &copy, const QString &table, const OldColumns &columns);
QString fillStatement(const QString &table, const QString &copy, const QString &commonColumns);
QString copyBackStatement(const QString &table, const QString &copy, const OldColumns &columns);
