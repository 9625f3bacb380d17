#include "core/session/basconnection.h"

#include "core/driver/connect.h"
#include "core/session/connectionstring.h"
#include "core/sql/passwords.h"
#include "core/sql/statements.h"

#include <algorithm>

namespace {

// What the program itself does for the connection: see lasting() and tunnelled().
QString ownPieces(const ConnectionProfile &profile)
{
    QString text;
    if (profile.ssh.isUsed() && profile.kind != ConnectionKind::DataSource)
        for (const auto &[key, value] : {std::pair("SSHHOST", profile.ssh.host),
                                         {"SSHPORT", profile.ssh.port},
                                         {"SSHUSER", profile.ssh.user},
                                         {"SSHKEY", profile.ssh.keyFile}})
            if (!value.isEmpty())
                text += u';' + QLatin1String(key) + u'=' + connectionValue(value);
    return profile.isReadOnly ? text + QStringLiteral(";READONLY=1") : text;
}

} // namespace

QString noDataSource()
{
    return QStringLiteral("(なし)");
}

void useProfile(Session &session, const ConnectionProfile &profile, const QString &password)
{
    session.profile = profile;
    session.gDsn = profile.dataSource();
    session.gDriver = profile.driver();
    session.gServer = profile.server;
    session.gUser = profile.user;
    session.gPass = password;
    session.gPort = profile.port;
    session.gDbName = profile.database;
}

TlsOptions effectiveTls(const Session &session)
{
    const TlsOptions &own = session.profile.tls;
    if (own == TlsOptions())
        return session.tls;
    TlsOptions tls = own;
    tls.mode = std::max(own.mode, session.tls.mode);
    if (tls.authority.isEmpty() && tls.authorityFolder.isEmpty()) {
        tls.authority = session.tls.authority;
        tls.authorityFolder = session.tls.authorityFolder;
    }
    return tls;
}

QString connectionStringOf(const Session &session)
{
    const QString tls = effectiveTls(session).pieces() + ownPieces(session.profile);
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

std::optional<Failure> tryConnecting(Session &session)
{
    sDisconnect(session);
    try {
        // Not yet the session's while it opens: events run meanwhile, and nobody may use it.
        auto connection = session.makeConnection(connectionStringOf(session));
        connection->open();
        session.gCn = std::move(connection);
    } catch (const Failure &error) {
        return error;
    }
    return {};
}

bool fConnect(Session &session, QString *why)
{
    const std::optional<Failure> failure = tryConnecting(session);
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

namespace {

// The only statements that the server takes then: its sql_mode cannot be asked for, and is taken for one with
// backslash escapes.
QString setPassword(const ServerInfo &server, const QString &password)
{
    const QString text = quotedText(password);
    if (server.isMariaDb || server.number < 50706)
        return QStringLiteral("SET PASSWORD = PASSWORD(%1)").arg(text);
    return QStringLiteral("ALTER USER USER() IDENTIFIED BY %1").arg(text);
}

} // namespace

bool isPasswordExpired(const Session &session, const Failure &failure)
{
    constexpr int mustChangePasswordToLogIn = 1862;
    return failure.number() == mustChangePasswordToLogIn && session.gDsn == noDataSource();
}

void renewPassword(Session &session, const QString &newPassword)
{
    const QString driver = std::exchange(session.gDriver, nativeDriverName());
    const QString string = connectionStringOf(session) + QStringLiteral(";handleexpiredpassword=1");
    session.gDriver = driver;
    const auto connection = session.makeConnection(string);
    connection->open();
    try {
        connection->execute(setPassword(connection->server(), newPassword));
    } catch (const Failure &error) {
        throw Failure(withoutQuotedPart(error.description()), error.number(), error.state());
    }
    session.gPass = newPassword;
}
