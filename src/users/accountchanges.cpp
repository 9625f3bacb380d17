#include "users/accountchanges.h"

#include "core/sql/passwords.h"

namespace {

constexpr int syntaxError = 1064;

// For statements that carry a password: the server quotes the rest of what it refuses.
void sendSecretly(Session &session, const QString &statement)
{
    try {
        session.connection().execute(statement);
    } catch (const SqlError &error) {
        throw SqlError(withoutQuotedPart(error.description()), error.number(), error.state());
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

void grant(Session &session, const GlobalGrant &grant, const QString &clause)
{
    const QString statement = grantGlobally(grant.list, grant.account, clause, grant.suffix);
    if (clause.isEmpty())
        session.connection().execute(statement);
    else
        sendSecretly(session, statement);
}

} // namespace

void sendAndFlush(Session &session, const QString &statement)
{
    session.connection().execute(statement);
    session.connection().execute(flushPrivileges());
}

void sendGlobalGrant(Session &session, const GlobalGrant &globalGrant, PasswordStatement fallback)
{
    const QString clause =
        globalGrant.password.isEmpty() ? QString() : passwordClause(quoted(session, globalGrant.password));
    try {
        grant(session, globalGrant, clause);
    } catch (const SqlError &error) {
        if (error.number() != syntaxError || clause.isEmpty())
            throw;
        sendSecretly(session, fallback == PasswordStatement::CreateUser
                                  ? createAccount(globalGrant.account, clause)
                                  : alterAccount(globalGrant.account, clause));
        grant(session, globalGrant, {});
    }
    session.connection().execute(flushPrivileges());
}
