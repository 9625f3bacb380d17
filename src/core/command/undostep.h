#pragma once

#include "core/command/sessionvariables.h"

class Connection;

// What an UndoLog keeps of a change on a server. All of it is data, so that it can be written to a file and a
// later start of the program can go back by it.

// A question to the server that a row answers with yes; no row, or no such object, with no.
struct Question {
    QString statement = {}; // empty: not asked, taken for answered as wanted
    bool wanted = true;
};
Question isThere(const QString &showCreateStatement);
Question isMissing(const QString &showCreateStatement);
// Throws Failure when the server cannot tell.
bool isSo(Connection &connection, const Question &question);

// One statement that takes something back.
struct WayBack {
    QString statement;
    std::vector<SessionVariable> with = {}; // for this statement alone
    // Of an object that is made again: what it has to be in the server's own words, "show create ..." for
    // what it is, and where these differ or the statement is refused, what removes it and makes it so.
    QString text = {}, show = {}, drop = {}, otherwise = {};
    // Asked only once a statement was in doubt, since until then all is known.
    Question when = {};         // sent only if it is so
    bool isAlwaysAsked = false; // `when`: others may have written meanwhile
    QString notSent = {};       // told when it was not so, or what is needed is not there
    Question needs = {};        // the undoing stops here unless it is so
    bool isForDoubt = false;    // clears up what a statement in doubt may have left; not sent before
    int nothingThere = 0;       // the server's number for having nothing to take back
    QString remark = {};        // told when it answered so
    QString lost = {};          // optional: told when it was refused, and the undoing goes on
};

// Whether the object that was made again is what it was; `database` is the one it lies in.
bool isAsBefore(Connection &connection, const WayBack &back, const QString &database);

// One statement of a change, with its way back.
struct Step {
    QString statement;
    std::vector<SessionVariable> with = {}; // for this statement alone
    std::vector<WayBack> back = {};         // in the order in which they are sent
    Question isDone = {};     // settles a doubt; without one, what was in doubt is taken for done
    Question holds = {};      // after a doubt: must be so as long as the step is not being taken back
    QString untilUndone = {}; // where things are as long as it stands
    QString inDoubt = {};     // the same, when nobody knows whether it was done
    QString notUndone = {}; // told before `untilUndone` when the undoing ends before the step was taken back
    QString notDone = {};   // thrown where the server says yes and `isDone` says no; empty: not asked
    QString lost = {};      // optional: told when it was refused, and the change goes on
    bool isOfSession = false; // ends with the connection: a lock
    bool completes = false;   // when it turns out to be done after a doubt, the change is done
    bool isRepeated = false;  // with all else done: sent again when it fails, instead of going back
    int nothingLeft = 0;      // the server's number for having nothing left of what `isRepeated` does
    QString onceDone = {};    // told where `completes` or `isRepeated` leads to the end
};
