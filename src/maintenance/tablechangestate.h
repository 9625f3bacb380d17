#pragma once

#include "core/statements.h"
#include "maintenance/tablechangetext.h"
#include "maintenance/triggers.h"

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

    QString oldTable() const { return qualifiedName(database, oldName); }
    QString newTable() const { return qualifiedName(database, newName); }
    QString bareNewName() const { return withoutBackticks(newName).trimmed(); } // as the server lists it
};
