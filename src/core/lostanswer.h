#pragma once

#include "core/session.h"

// What a command does when the connection broke before an answer came: the server may or may not have
// carried the statement out, so what exists is read before anything is undone.

bool isAnswerLost(const Session &session, const SqlError &error);

// Replaces gCn by a new connection whose default database is gDbName. Throws SqlError and leaves gCn as it
// is when the server cannot be reached.
void reconnect(Session &session);

// Whether the object of a "show create ..." statement is there; throws SqlError when that cannot be told.
bool exists(Connection &connection, const QString &showCreateStatement);
