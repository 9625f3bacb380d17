#include "core/command/writing.h"

#include "core/basconnection.h"
#include "core/statements.h"

namespace {

QString serverName(const Session &session)
{
    return trimmedBlanks(session.gDsn) == noDataSource() ? session.gServer + u':' + session.gPort
                                                         : session.gDsn;
}

} // namespace

bool mayWrite(Session &session, Dialogue &dialogue)
{
    if (!session.role.isForReading())
        return true;
    try {
        session.role = readServerRole(session.connection()); // it may have been promoted since
    } catch (const SqlError &) {
        // The command itself finds the connection lost, or the stop.
    }
    return !session.role.isForReading() ||
           dialogue.confirm(QStringLiteral("サーバー %1 は %2です。\r\nここでの変更は他のサーバーに伝わらず、"
                                           "レプリケーションが止まることがあります。\r\n続けますか？")
                                .arg(serverName(session), roleText(session.role)),
                            Icon::Critical);
}
