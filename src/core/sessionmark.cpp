#include "core/sessionmark.h"

QString sessionMarkQuestion(const ServerInfo &server, const QString &session)
{
    constexpr int firstWithIdentity = 50605;
    const bool hasIdentity = !server.isMariaDb && server.number >= firstWithIdentity;
    return QStringLiteral("select concat_ws('|', @@hostname, @@port, @@datadir, @@server_id, %1, user, host) "
                          "from information_schema.processlist where id = %2")
        .arg(hasIdentity ? QStringLiteral("@@server_uuid") : QStringLiteral("''"), session);
}
