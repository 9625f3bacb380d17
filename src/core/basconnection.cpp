#include "core/basconnection.h"

#include "core/statements.h"

#include <QScopeGuard>

namespace {

// In the braces of ODBC where the value would end too soon, lose its blanks or be taken for one in braces:
// what came after it would reach another database, port or account.
QString valueOf(const QString &text)
{
    const bool isPlain = !text.contains(u';') && !text.startsWith(u'{') && text == text.trimmed();
    return isPlain ? text : u'{' + QString(text).replace(u'}', QStringLiteral("}}")) + u'}';
}

} // namespace

QString noDataSource()
{
    return QStringLiteral("(なし)");
}

QString connectionStringOf(const Session &session)
{
    if (trimmedBlanks(session.gDsn) != noDataSource())
        return session.gDsn;
    QString text = QStringLiteral("driver={") + session.gDriver + u'}' + QStringLiteral(";server=") +
                   valueOf(session.gServer) + QStringLiteral(";uid=") + valueOf(session.gUser);
    if (!session.gPass.isEmpty())
        text += QStringLiteral(";pwd=") + valueOf(session.gPass);
    text += QStringLiteral(";port=") + valueOf(session.gPort);
    if (!session.gDbName.isEmpty())
        text += QStringLiteral(";database=") + valueOf(session.gDbName);
    return text;
}

bool fConnect(Session &session, QString *why)
{
    sDisconnect(session);
    try {
        // Not yet the session's while it opens: events run meanwhile, and nobody may use it.
        auto connection = session.makeConnection(connectionStringOf(session));
        session.opening = connection.get();
        const auto isOver = qScopeGuard([&session] { session.opening = nullptr; });
        connection->open();
        session.gCn = std::move(connection);
    } catch (const SqlError &error) {
        if (why)
            *why = error.description();
    }
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
