#include "users/accountserver.h"

#include "core/sql/passwords.h"

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

// The password comes last: it is the one thing that cannot be taken back.
void grantAndSetPassword(Session &session, const GlobalGrant &grant, const QString &clause)
{
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
    if (!server.isMariaDb || server.number < firstWithSeveral)
        return false;
    const RecordSet rows = session.connection().execute(showCreateUser(account));
    return rows.isOpen() && rows.text(0).contains(u" IDENTIFIED VIA ");
}

// password: as it stands between single quotes.
void sendWithPassword(Session &session, const GlobalGrant &grant, const QString &password)
{
    const QString clause = passwordClause(password);
    if (revokesByName(session))
        return sendInTwo(session, grant, clause);
    if (!grant.isNew && hasOtherWayIn(session, grant.account)) {
        sendGrant(session, grant);
        return sendSecretly(session, setPassword(grant.account, password));
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

void sendGlobalGrant(Session &session, const GlobalGrant &grant)
{
    if (grant.password.isEmpty())
        sendGrant(session, grant);
    else
        sendWithPassword(session, grant, quoted(session, grant.password));
    session.connection().execute(flushPrivileges());
}
