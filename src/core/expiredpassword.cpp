#include "core/expiredpassword.h"

#include "core/basconnection.h"
#include "core/connect.h"
#include "core/sql/passwords.h"
#include "core/statements.h"

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

bool isPasswordExpired(const Session &session, const SqlError &failure)
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
    } catch (const SqlError &error) {
        throw SqlError(withoutQuotedPart(error.description()), error.number(), error.state());
    }
    session.gPass = newPassword;
}
