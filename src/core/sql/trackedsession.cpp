#include "core/sql/trackedsession.h"

void executeOwn(Connection &connection, const QString &statement)
{
    if (auto *tracked = dynamic_cast<TrackedSession *>(&connection))
        tracked->executeOwn(statement);
    else
        connection.execute(statement);
}

void holdOwn(Connection &connection, const void *owner, bool holds)
{
    if (auto *tracked = dynamic_cast<TrackedSession *>(&connection))
        tracked->holdOwn(owner, holds);
}

bool hasSettingsOfUser(const Connection &connection)
{
    const auto *tracked = dynamic_cast<const TrackedSession *>(&connection);
    return tracked && tracked->hasSettingsOfUser();
}

QString lastUse(const Connection &connection)
{
    const auto *tracked = dynamic_cast<const TrackedSession *>(&connection);
    return tracked ? tracked->lastUse() : QString();
}

void executeOwnForGood(Connection &connection, const QString &statement)
{
    holdOwn(connection, &connection, true);
    executeOwn(connection, statement);
}
