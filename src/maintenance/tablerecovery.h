#pragma once

#include "core/session.h"
#include "maintenance/tablechangetext.h"
#include "maintenance/tablechangetriggers.h"

#include <vector>

enum class ObjectKind { Table, View, Other };

// What a table change was doing; whatever failed, failed while its stage was this one.
enum class TableStage { Nothing, Copying, Dropping, Creating, Filling, DroppingCopy, Done };

// A change under way, with all that is needed to undo it.
struct TableChange {
    ObjectKind kind = ObjectKind::Table;
    QString database;
    QString oldName, newName; // newName as the edited text writes it
    QString copy;             // qualified; empty until it is named
    QString shownText;        // the old definition as it was shown, without backticks
    QString serverText;       // the old definition in the server's own words; may be empty
    OldColumns columns;
    std::vector<Trigger> triggers;
    TableStage stage = TableStage::Nothing;

    QString oldTable() const;
    QString newTable() const;
    QString bareNewName() const; // as the server lists it
};

// What the user has to be told after a recovery; both empty when all is as it was before.
struct RecoveryReport {
    QString message; // where the rows are, what is left over
    QString details; // statements that the user may need, for txtError only
};

// Undoes what was done, as far as the stage asks for it, and stops at the first statement that fails: the
// copy is dropped only when its rows are in a table again. Where an answer was lost, a new connection is made
// once and what exists is read from it first. Never throws.
RecoveryReport recoverTable(Session &session, const TableChange &change, bool answerLost);

// What is said of triggers that are gone; empty when none are.
RecoveryReport reportOf(const LostTriggers &lost);
