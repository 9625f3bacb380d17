#pragma once

#include "core/sql/connection.h"

// A connection that knows what the server keeps for it, to tell the user what is lost with it. What the
// program sets for its own work is nothing of the user's: it never counts as lost, and once it is put back
// the session is as fresh as before.
class TrackedSession {
public:
    virtual ~TrackedSession() = default;
    // Sends a SET of the program's.
    virtual void executeOwn(const QString &statement) = 0;
    // As long as the owner holds settings, the session cannot be replaced by a new one.
    virtual void holdOwn(const void *owner, bool holds) = 0;
    // Whether the user has set something.
    virtual bool hasSettingsOfUser() const = 0;
    // The last USE as it stood there, also once the connection is lost; empty: none was sent.
    virtual QString lastUse() const = 0;
};

// The same by any connection.
void executeOwn(Connection &connection, const QString &statement);
void holdOwn(Connection &connection, const void *owner, bool holds);
bool hasSettingsOfUser(const Connection &connection);
QString lastUse(const Connection &connection);
// Sets what the connection, one of the program's alone, keeps to its end.
void executeOwnForGood(Connection &connection, const QString &statement);
