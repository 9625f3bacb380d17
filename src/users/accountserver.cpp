#include "users/accountserver.h"

#include "core/sql/passwords.h"

#include <QRegularExpression>

namespace {

// For statements that carry a password: the server quotes the rest of what it refuses.
void sendSecretly(Session &session, const QString &statement)
{
    try {
        session.connection().execute(statement);
    } catch (const Failure &error) {
        throw Failure(withoutQuotedPart(error.description()), error.number(), error.state());
    }
}

// As it must stand between single quotes for the server to read what was typed.
QString quoted(Session &session, QString password)
{
    password.replace(u'\'', QStringLiteral("''"));
    if (!password.contains(u'\\'))
        return password;
    const RecordSet mode = session.connection().execute(QStringLiteral("select @@sql_mode"));
    return mode.text(0).contains(u"NO_BACKSLASH_ESCAPES") ? password
                                                          : password.replace(u'\\', QStringLiteral("\\\\"));
}

void sendGrant(Session &session, const GlobalGrant &grant)
{
    session.connection().execute(grantGlobally(grant.list, grant.account, {}, grant.suffix));
}

void makeAndGrant(Session &session, const GlobalGrant &grant, const QString &clause)
{
    sendSecretly(session, createAccount(grant.account, clause));
    try {
        sendGrant(session, grant);
    } catch (const Failure &error) {
        if (!error.isConnectionLost())
            session.connection().execute(dropAccount(grant.account));
        throw;
    }
}

QString createUserOf(Session &session, const Account &account)
{
    const RecordSet rows = session.connection().execute(showCreateUser(account));
    return rows.isOpen() ? rows.text(0) : QString();
}

// The password comes last: it is the one thing that cannot be taken back.
void grantAndSetPassword(Session &session, const GlobalGrant &grant, const QString &clause)
{
    requirePasswordLogin(createUserOf(session, grant.account));
    sendGrant(session, grant);
    sendSecretly(session, alterAccount(grant.account, clause));
}

void sendInTwo(Session &session, const GlobalGrant &grant, const QString &clause)
{
    if (grant.isNew)
        makeAndGrant(session, grant, clause);
    else
        grantAndSetPassword(session, grant, clause);
}

// GRANT with a password would make that the only way in, and MariaDB's own plugin its form.
bool hasOtherWayIn(Session &session, const Account &account)
{
    constexpr int firstWithSeveral = 100400;
    const ServerInfo server = session.connection().server();
    return server.isMariaDb && server.number >= firstWithSeveral &&
           createUserOf(session, account).contains(u" IDENTIFIED VIA ");
}

void setPasswordAmongOthers(Session &session, const Account &account, const QString &password)
{
    constexpr int notApplicable = 1699;
    const QString before = createUserOf(session, account);
    try {
        sendSecretly(session, setPassword(account, password));
    } catch (const Failure &error) {
        // MariaDB 10.11 says so of a first way in without a password when it has changed that of the second.
        if (error.number() != notApplicable || createUserOf(session, account) == before)
            throw;
    }
}

// password: as it stands between single quotes.
void sendWithPassword(Session &session, const GlobalGrant &grant, const QString &password)
{
    const QString clause = passwordClause(password);
    if (revokesByName(session))
        return sendInTwo(session, grant, clause);
    if (!grant.isNew && hasOtherWayIn(session, grant.account)) {
        sendGrant(session, grant);
        return setPasswordAmongOthers(session, grant.account, password);
    }
    constexpr int syntaxError = 1064;
    try {
        sendSecretly(session, grantGlobally(grant.list, grant.account, clause, grant.suffix));
    } catch (const Failure &error) {
        if (error.number() != syntaxError)
            throw;
        sendInTwo(session, grant, clause);
    }
}

} // namespace

void sendAndFlush(Session &session, const QString &statement)
{
    session.connection().execute(statement);
    session.connection().execute(flushPrivileges());
}

bool revokesByName(const Session &session)
{
    const ServerInfo server = session.connection().server();
    return !server.isMariaDb && server.number >= 80000;
}

void requirePasswordLogin(const QString &createUser)
{
    static const QRegularExpression pluginName(QStringLiteral("^CREATE USER .*? IDENTIFIED WITH '?(\\w+)"));
    static const QStringList withPassword{QStringLiteral("caching_sha2_password"),
                                          QStringLiteral("mysql_native_password"),
                                          QStringLiteral("sha256_password")};
    const QString plugin = pluginName.match(createUser).captured(1);
    if (!plugin.isEmpty() && !withPassword.contains(plugin))
        throw Failure(
            QStringLiteral("このﾕｰｻﾞｰの認証方式(%1)はﾊﾟｽﾜｰﾄﾞを使いません。ﾊﾟｽﾜｰﾄﾞは変更できません。")
                .arg(plugin));
}

void sendGlobalGrant(Session &session, const GlobalGrant &grant)
{
    if (grant.password.isEmpty())
        sendGrant(session, grant);
    else
        sendWithPassword(session, grant, quoted(session, grant.password));
    session.connection().execute(flushPrivileges());
}
