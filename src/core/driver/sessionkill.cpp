#include "core/driver/sessionkill.h"

#include "core/driver/odbc/statementkind.h"

QString sessionMarkQuestion(const ServerInfo &server, const QString &session)
{
    constexpr int firstWithIdentity = 50605;
    const bool hasIdentity = !server.isMariaDb && server.number >= firstWithIdentity;
    return QStringLiteral("select concat_ws('|', @@hostname, @@port, @@datadir, @@server_id, %1, user, host) "
                          "from information_schema.processlist where id = %2")
        .arg(hasIdentity ? QStringLiteral("@@server_uuid") : QStringLiteral("''"), session);
}

StatementSort sortOf(const QString &statement)
{
    return StatementKind::mayHaveFurtherResults(statement) ? StatementSort::Procedure : StatementSort::Single;
}

Interruption killAndWait(const QString &session, StatementSort sort, const Stop &stop,
                         const std::function<void(const QString &statement)> &send)
{
    using namespace std::chrono_literals;
    send(QStringLiteral("KILL QUERY ") + session);
    if (stop.endsWithin(sort == StatementSort::Procedure ? 500ms : 3000ms))
        return Interruption::Confirmed;
    try {
        send(QStringLiteral("KILL ") + session);
    } catch (const Failure &) {
        // The connection is cut next.
    }
    return Interruption::Disobeyed;
}
