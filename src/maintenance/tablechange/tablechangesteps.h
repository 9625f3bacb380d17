#pragma once

#include "core/sql/statements.h"
#include "maintenance/tablechange/foreignkeys.h"
#include "maintenance/tablechange/tablechangetext.h"
#include "maintenance/tablechange/triggers.h"

// A table that is to be rebuilt from an edited text, and what is known of it.
struct TableChange {
    QString database;
    QString oldName, newName; // newName as the edited text writes it
    QString copy;             // qualified
    QString editedText;
    QString shownText;  // the old definition as it was shown, without backticks
    QString serverText; // the old definition in the server's own words; may be empty
    OldColumns columns;
    std::vector<Trigger> triggers;
    std::vector<Constraint> children; // of other tables, pointing to this one
    bool isOwnText = false;           // the text that is edited is the server's own, quotes and all
    bool mayLock = false;             // tables are locked while rows are copied
    bool isOursToMakeAgain = true;    // else a failure leaves all as it is

    QString bareCopy() const { return copy.mid(oldTable().size() - oldName.size()); }
    QString oldTable() const { return qualifiedName(database, oldName); }
    QString newTable() const { return qualifiedName(database, newName); }
    QString bareNewName() const { return withoutBackticks(newName).trimmed(); } // as the server lists it
    bool isRenamed() const { return bareNewName() != oldName; }
};

// The steps of the change with their ways back, in the order in which they are sent; between the copy and the
// drop others may still write, which a lock keeps them from.
Step copyStep(const TableChange &change);
Step lockStep(const TableChange &change, const QString &table); // and the copy
// The same where other nodes write as well, which no lock holds up: triggers that refuse to change the
// table's rows. They go with the table.
std::vector<Step> barSteps(const TableChange &change);
Step dropStep(const TableChange &change);
Step createStep(const TableChange &change);
Step fillStep(const TableChange &change, const QString &commonColumns);
Step dropCopyStep(const TableChange &change);

// Writes all rows of the table into the copy, which has others.
QStringList copyAgainStatements(const TableChange &change);
