#include "core/basconnection.h"

#include "core/connectionstring.h"
#include "core/statements.h"

QString noDataSource()
{
    return QStringLiteral("(なし)");
}

QString connectionStringOf(const Session &session)
{
    const QString tls = session.tls.pieces();
    if (trimmedBlanks(session.gDsn) != noDataSource())
        return tls.isEmpty() ? session.gDsn : dataSourceString(session.gDsn) + tls;
    QString text = QStringLiteral("driver={") + session.gDriver + u'}' + QStringLiteral(";server=") +
                   connectionValue(session.gServer) + QStringLiteral(";uid=") +
                   connectionValue(session.gUser);
    if (!session.gPass.isEmpty())
        text += QStringLiteral(";pwd=") + connectionValue(session.gPass);
    text += QStringLiteral(";port=") + connectionValue(session.gPort);
    if (!session.gDbName.isEmpty())
        text += QStringLiteral(";database=") + connectionValue(session.gDbName);
    return text + tls;
}

std::optional<SqlError> tryConnecting(Session &session)
{
    sDisconnect(session);
    try {
        // Not yet the session's while it opens: events run meanwhile, and nobody may use it.
        auto connection = session.makeConnection(connectionStringOf(session));
        connection->open();
        session.gCn = std::move(connection);
    } catch (const SqlError &error) {
        return error;
    }
    return {};
}

bool fConnect(Session &session, QString *why)
{
    const std::optional<SqlError> failure = tryConnecting(session);
    if (failure && why)
        *why = failure->description();
    return session.gCn && session.gCn->isOpen();
}

void sDisconnect(Session &session)
{
    session.gRs.close();
    if (session.gCn && session.gCn->isOpen())
        session.gCn->close();
    session.gCn.reset();
}

bool namesLocalServer(const QString &connectionString)
{
    for (const QString &piece : connectionString.split(u';')) {
        const QStringList sides = piece.split(u'=');
        if (sides.size() > 1 && sides[0].trimmed() == u"SERVER" && sides[1].trimmed() == u"localhost")
            return true;
    }
    return false;
}
