#pragma once

#include "maintenance/tablechangestate.h"

// What the user is told of a table change that failed.

// Where the table's rows are.
enum class Rows { Untouched, InOldOrCopy, InCopy, InOld, InNew, Missing };

// As long as nothing but the stage is known.
Rows rowsAt(TableStage stage, bool isInDoubt);
// Whether the old table has to be made again by hand.
bool isOldMissing(Rows rows);

QString whereRowsAre(const TableChange &change, Rows rows, bool isCopyGone);
QString changeIsDone(const TableChange &change);
QString newTableIsLeft(const TableChange &change);
QString copyIsLeft(const TableChange &change);
// What the user needs to make the table again by hand.
QString oldDefinition(const TableChange &change);
