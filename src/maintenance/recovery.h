#pragma once

#include "core/dialogue.h"
#include "core/session.h"

#include <functional>

// What the user has to be told after a recovery; both empty when all is as it was before.
struct RecoveryReport {
    QString message; // where the rows are, what is left over
    QString details; // statements that the user may need, for txtError only
};

// Undoes a change that failed: `fromDone` goes by what the program has done. Where the answer was lost, then
// or while undoing, or where an impatient user stopped the undoing, a new connection is made and `fromFound`
// goes by what it finds there; that is tried once. Throws SqlError when it fails.
void recover(Session &session, bool answerLost, const std::function<void()> &fromDone,
             const std::function<void()> &fromFound);

// Shows the report, when there is something in it, and writes it beneath the error.
void tellReport(Dialogue &dialogue, const QString &error, const RecoveryReport &report, bool withTip);
