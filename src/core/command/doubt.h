#pragma once

#include "core/session/session.h"

// What a command does when a statement was stopped, or its connection broke before an answer came: the server
// may or may not have carried it out, so what exists is read before anything is undone.

enum class Doubt {
    None,        // the server refused the statement and did nothing
    Interrupted, // it was stopped and may be done; the connection stands
    AnswerLost   // it may be done; the connection is gone
};
Doubt doubtAfter(const Session &session, const Failure &error);

// Replaces gCn by a new connection and reads its server's role. Its default database is that of the last USE
// that was sent over gCn, else gDbName. Throws Failure and leaves gCn as it is when the server cannot be
// reached.
void reconnect(Session &session);
// That the new connection could not choose the database of the lost one's last USE, behind a line break;
// mostly empty.
QString wordsOfOtherDatabase(const Session &session, const QString &useBefore);

// Tries once to make the connection anew that what runs has just lost, and says how that ended, behind a line
// break; empty where none was lost, or nobody comes back. Not while an UndoLog is open.
QString wordsOfComingBack(const Session &session);

class Dialogue;
// Carries the action out; where it fails, the words stand in the window and in a box, unless the user has
// stopped it. False: it failed.
bool tellingFailure(Session &session, Dialogue &dialogue, const Runner::Action &action);

// Which server a connection has reached, as far as it tells; and which cluster it belongs to.
struct ServerPlace {
    QString server; // empty: not known
    Cluster cluster;
};
ServerPlace serverPlace(Connection &connection);

// A new connection that is to go on with what an old one began. Throws Failure where it has reached another
// server, unless that is one of the same cluster, which is then made to wait for all that the others have
// done.
void reconnect(Session &session, const ServerPlace &place);
