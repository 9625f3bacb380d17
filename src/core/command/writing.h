#pragma once

#include "core/command/dialogue.h"
#include "core/session/session.h"
#include "core/sql/lexer.h"

// Asked before anything is changed on the server. A connection that is read-only refuses, one to a production
// server asks once more. A server that is for reading does not refuse an account with all
// rights: what such an account changes on a replica is missing elsewhere, or stops the replication. So the
// user is asked; false: not to be done. Never throws.
bool mayWrite(Session &session, Dialogue &dialogue);
// The same without asking the server again, for connections of other threads.
bool confirmsWriting(const Session &session, Dialogue &dialogue);

// For the user: "host:port", or the data source's name.
QString serverName(const Session &session);

// Whether a statement of the user's may change something, judged by its words: in doubt it may.
bool mayChange(const QString &statement, SqlMode mode = {});
