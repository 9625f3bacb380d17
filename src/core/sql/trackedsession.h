#pragma once

#include "core/sql/connection.h"
#include "core/sql/sessionstate.h"

#include <memory>

// A connection that knows what the server keeps for it. What the program sets for its own work is nothing of
// the user's: it never counts as lost, and once it is put back the session is as fresh as before.
class TrackedSession {
public:
    virtual ~TrackedSession() = default;
    // Outlives the connection for whoever waits on it.
    virtual std::shared_ptr<SessionState> sessionState() const = 0;
};

// Of any connection; of one that is not tracked a state that nothing is noted in.
std::shared_ptr<SessionState> sessionStateOf(const Connection &connection);
// Sends a SET of the program's.
void executeOwn(Connection &connection, const QString &statement);
// The same for what the connection, one of the program's alone, keeps to its end.
void executeOwnForGood(Connection &connection, const QString &statement);
// As long as the owner holds settings, the session cannot be replaced by a new one.
void holdOwn(Connection &connection, const void *owner, bool holds);
// Whether the user has set something.
bool hasSettingsOfUser(const Connection &connection);
// The last USE as it stood there, also once the connection is lost; empty: none was sent.
QString lastUse(const Connection &connection);
