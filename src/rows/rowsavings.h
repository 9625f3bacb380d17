#pragma once

#include "core/command/dialogue.h"
#include "rows/rowgrid.h"
#include "rows/rowhistory.h"

// Saves what is edited in a grid's rows, with all that is to be asked and told, and takes savings back.
class RowSavings {
public:
    // joinsTransaction: of the user's own, where one is open; see RowSaver.
    RowSavings(Session &session, Dialogue &dialogue, RowGrid &rows, bool joinsTransaction = false);

    // Words on what became of it; empty: it was told in a box, or the user said no. Throws Failure.
    QString save();
    // In a transaction with the same care; itself a saving. Rows that somebody else has changed are asked
    // for. Throws Failure where nothing was taken back.
    void undo(const RowSaving &saving);

private:
    bool isReadyToSave(const std::vector<RowChange> &changes);
    bool maySendMissing(const std::vector<RowChange> &changes);
    bool mayChangeOthers(const std::vector<RowChange> &changes);
    QString settleConflicts(const SaveReport &report);
    RowSaving saving(const TableShape &whole, const std::vector<RowChange> &inverse);
    void undoChanges(const RowSaving &saving);

    Session &m_session;
    Dialogue &m_dialogue;
    RowGrid &m_rows;
    const bool m_joinsTransaction;
};
