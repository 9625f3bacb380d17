#include "users/accountchanges.h"

namespace {

constexpr int syntaxError = 1064;

// For statements that carry a password: the server quotes the rest of what it refuses.
void sendSecretly(Session &session, const QString &statement)
{
    try {
        session.connection().execute(statement);
    } catch (const SqlError &error) {
        throw SqlError(withoutQuotation(error.description()), error.number(), error.state());
    }
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
    const QString clause = globalGrant.password.isEmpty() ? QString() : passwordClause(globalGrant.password);
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

QString withoutQuotation(const QString &description)
{
    // "... to use near '...' at line 2"; servers that speak another language quote in the same marks.
    const QString near = QStringLiteral(" near '");
    const qsizetype from =
        description.contains(near) ? description.indexOf(near) : description.indexOf(u'\'');
    const qsizetype to = description.lastIndexOf(u'\'');
    return from < 0 ? description : description.left(from) + description.mid(to + 1);
}
