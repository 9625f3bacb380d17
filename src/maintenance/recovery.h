#pragma once

#include "core/dialogue.h"
#include "core/lostanswer.h"

#include <functional>

// What the user has to be told after a recovery; both empty when all is as it was before.
struct RecoveryReport {
    QString message; // where the rows are, what is left over
    QString details; // statements that the user may need, for txtError only
};

// Undoes a change that failed, also after a stop: `fromDone` goes by what the program has done. Where a
// statement is in doubt, then or while undoing, `fromFound` goes by what it finds on the server, over a new
// connection if need be; that is tried once. Throws SqlError when it fails.
void recover(Session &session, Doubt doubt, const std::function<void()> &fromDone,
             const std::function<void()> &fromFound);

// Shows the report, when there is something in it, and writes it beneath the error.
void tellReport(Dialogue &dialogue, const QString &error, const RecoveryReport &report, bool withTip);
