#include "core/lostanswer.h"

#include "core/basconnection.h"
#include "core/statements.h"

#include <utility>

Doubt doubtAfter(const Session &session, const SqlError &error)
{
    if (error.isConnectionLost() || !session.gCn || !session.gCn->isOpen())
        return Doubt::AnswerLost;
    return error.isInterrupted() ? Doubt::Interrupted : Doubt::None;
}

void reconnect(Session &session)
{
    auto connection = session.makeConnection(connectionStringOf(session));
    connection->open();
    if (!session.gDbName.isEmpty())
        connection->execute(useStatement(session.gDbName));
    session.gRs.close();
    session.gCn = std::move(connection);
}

bool exists(Connection &connection, const QString &showCreateStatement)
{
    constexpr int noSuchTable = 1146;
    constexpr int noSuchRoutine = 1305;
    constexpr int brokenView = 1356;
    try {
        connection.execute(showCreateStatement);
        return true;
    } catch (const SqlError &error) {
        if (error.number() == noSuchTable || error.number() == noSuchRoutine)
            return false;
        if (error.number() == brokenView)
            return true;
        throw;
    }
}
