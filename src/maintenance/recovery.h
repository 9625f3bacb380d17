#pragma once

#include "core/lostanswer.h"

// Undoes a change that failed: `fromDone` goes by what the program has done. Where the answer was lost, then
// or while undoing, or where an impatient user stopped the undoing, a new connection is made and `fromFound`
// goes by what it finds there; that is tried once. Throws SqlError when it fails.
template <class FromDone, class FromFound>
void recover(Session &session, bool answerLost, const FromDone &fromDone, const FromFound &fromFound)
{
    if (!answerLost) {
        try {
            fromDone();
            return;
        } catch (const SqlError &error) {
            if (!isAnswerLost(session, error) && !error.isInterrupted())
                throw;
        }
    }
    reconnect(session);
    fromFound();
}

// The same for an object that is gone unless `make` brings it back.
template <class Make>
void remake(Session &session, bool answerLost, const QString &showCreateStatement, const Make &make)
{
    recover(session, answerLost, make, [&] {
        if (!exists(session.connection(), showCreateStatement))
            make();
    });
}
