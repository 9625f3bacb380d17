#include "core/sql/trackedsession.h"

#include <QScopeGuard>

std::shared_ptr<SessionState> sessionStateOf(const Connection &connection)
{
    const auto *tracked = dynamic_cast<const TrackedSession *>(&connection);
    return tracked ? tracked->sessionState() : std::make_shared<SessionState>();
}

void executeOwn(Connection &connection, const QString &statement)
{
    const std::shared_ptr<SessionState> state = sessionStateOf(connection);
    state->setNoting(false);
    const auto notesAgain = qScopeGuard([&state] { state->setNoting(true); });
    connection.execute(statement);
}

void executeOwnForGood(Connection &connection, const QString &statement)
{
    holdOwn(connection, &connection, true);
    executeOwn(connection, statement);
}

void holdOwn(Connection &connection, const void *owner, bool holds)
{
    sessionStateOf(connection)->holdOwn(owner, holds);
}

bool hasSettingsOfUser(const Connection &connection)
{
    return sessionStateOf(connection)->hasSettings();
}

QString lastUse(const Connection &connection)
{
    return sessionStateOf(connection)->database();
}
