#include "core/command/doubt.h"

#include "core/command/dialogue.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"
#include "core/sql/trackedsession.h"

#include <utility>

namespace {

// The first value of the first row; empty where the server does not know what is asked.
QString answerTo(Connection &connection, const char *statement)
{
    constexpr int unknownVariable = 1193;
    try {
        RecordSet rows = connection.execute(QString::fromLatin1(statement));
        return rows.isOpen() && !rows.isEof() && !rows.isNull(0) ? rows.text(0) : QString();
    } catch (const Failure &error) {
        if (error.number() != unknownVariable)
            throw;
        return {};
    }
}

} // namespace

Doubt doubtAfter(const Session &session, const Failure &error)
{
    if (error.isConnectionLost() || !session.gCn || !session.gCn->isOpen())
        return Doubt::AnswerLost;
    return error.isInterrupted() ? Doubt::Interrupted : Doubt::None;
}

namespace {

bool canUse(Connection &connection, const QString &use)
{
    try {
        if (!use.isEmpty())
            connection.execute(use);
        return !use.isEmpty();
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        return false; // see wordsOfOtherDatabase()
    }
}

} // namespace

void reconnect(Session &session)
{
    auto connection = session.makeConnection(connectionStringOf(session));
    connection->open();
    const QString use = session.gCn ? lastUse(*session.gCn) : QString();
    if (!canUse(*connection, use) && !session.gDbName.isEmpty())
        connection->execute(useStatement(session.gDbName));
    session.role = readServerRole(*connection);
    session.gRs.close();
    session.gCn = std::move(connection);
}

QString wordsOfOtherDatabase(const Session &session, const QString &useBefore)
{
    if (useBefore.isEmpty() || lastUse(*session.gCn) == useBefore)
        return {};
    return QStringLiteral("\nデータベースは元に戻せませんでした(%1)。今は「%2」です。")
        .arg(useBefore, session.gDbName);
}

QString wordsOfComingBack(const Session &session)
{
    if (!session.gCn || session.gCn->isOpen() || !session.comeBack || session.runner.isStopWanted())
        return {};
    const QString use = lastUse(*session.gCn);
    try {
        session.comeBack();
        return QStringLiteral("\nつなぎ直しました。") + wordsOfOtherDatabase(session, use);
    } catch (const Failure &failure) {
        return failure.isInterrupted() ? QString() : u'\n' + failure.description();
    }
}

bool tellingFailure(Session &session, Dialogue &dialogue, const Runner::Action &action)
{
    try {
        action();
        return true;
    } catch (const Failure &error) {
        const QString words = error.description() + wordsOfComingBack(session);
        dialogue.setLastError(words, false);
        if (!session.runner.isStopWanted())
            dialogue.refuse(words);
        return false;
    }
}

ServerPlace serverPlace(Connection &connection)
{
    const ServerInfo server = connection.server();
    constexpr int firstWithUuid = 50600;
    const bool hasUuid = !server.isMariaDb && server.number >= firstWithUuid;
    return {answerTo(connection, hasUuid ? "select concat_ws(' ',@@server_uuid,@@hostname,@@port)"
                                         : "select concat_ws(' ',@@server_id,@@hostname,@@port,@@datadir)"),
            clusterOf(connection)};
}

void reconnect(Session &session, const ServerPlace &place)
{
    reconnect(session);
    Connection &connection = session.connection();
    const ServerPlace now = serverPlace(connection);
    if (!place.server.isEmpty() && place.server != now.server &&
        (!place.cluster.isMember() || place.cluster.name != now.cluster.name))
        throw Failure(
            QStringLiteral("再接続先は別のサーバーです(%1)。元のサーバー: %2").arg(now.server, place.server));
    if (now.cluster.isMember())
        executeOwn(connection, now.cluster.isGalera
                                   ? QStringLiteral("set session wsrep_sync_wait=15")
                                   : QStringLiteral("set session group_replication_consistency='BEFORE'"));
}
