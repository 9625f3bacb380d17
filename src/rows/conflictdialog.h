#pragma once

#include "rows/rowsaver.h"

#include <QWidget>

// What the rows have become that were to be changed.
enum class ConflictOf { Saving, Undoing };

// Shows the rows that somebody else has changed meanwhile, "rowConflicts": column by column as it was, mine
// and theirs. Whose values stay is chosen for each row: true for mine, in the order of the conflicts. Nothing
// is the answer to Enter and Escape. `done` says what has been done in spite of them.
std::optional<std::vector<bool>> askWhoseStay(QWidget *parent, const TableShape &table,
                                              const std::vector<RowChange> &changes,
                                              const std::vector<RowConflict> &conflicts, ConflictOf of,
                                              const QString &done);
