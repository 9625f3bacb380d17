#include "users/rights.h"

#include "core/sql/statements.h"
#include "users/accountserver.h"

#include <QRegularExpression>

namespace {

const QString usage = QStringLiteral("USAGE"), grantOption = QStringLiteral("GRANT OPTION");

// The catalogue spells names without regard to case; accounts and tables differ by it.
QString rowsOf(const char *table, const Account &account)
{
    accountName(account); // refuses names that would be read otherwise here too
    return QStringLiteral("select * from information_schema.") + QLatin1String(table) +
           QStringLiteral(" where grantee = binary concat('''', '") + account.user +
           QStringLiteral("', '''@''', '") + account.host + QStringLiteral("', '''')");
}

const char *tableOf(const Scope &scope)
{
    switch (scope.level) {
    case Scope::Level::Global:
        return "user_privileges";
    case Scope::Level::Database:
        return "schema_privileges";
    case Scope::Level::Table:
        break;
    }
    return "table_privileges";
}

QString whereScope(const Scope &scope)
{
    if (scope.level == Scope::Level::Global)
        return {};
    QString where = QStringLiteral(" and table_schema = binary ") + quotedText(scope.database);
    if (scope.level == Scope::Level::Table)
        where += QStringLiteral(" and table_name = binary ") + quotedText(scope.table);
    return where;
}

// MariaDB 10.5 renamed the right; it still grants it under the old name, as the boxes do.
const QString newName = QStringLiteral("BINLOG MONITOR");

QString oldName(const QString &right)
{
    return right == newName ? QStringLiteral("REPLICATION CLIENT") : right;
}

void read(Session &session, const QString &statement, Rights &rights)
{
    session.gRs = session.connection().execute(statement);
    RecordSet &rows = session.gRs;
    const int column = rows.isOpen() ? rows.fieldIndex(QStringLiteral("column_name")) : -1;
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        QString right = oldName(rows.text(QStringLiteral("privilege_type")));
        if (column >= 0)
            right += QStringLiteral(" (") + quotedName(rows.text(column)) + u')';
        rights.isTold = true;
        // MySQL 9 lists a dynamic right twice once GRANT OPTION was revoked.
        if (!rights.names.contains(right))
            rights.names << right;
        if (rows.text(QStringLiteral("is_grantable")) == u"YES" && !rights.grantable.contains(right))
            rights.grantable << right;
    }
    rows.close();
}

bool knowsShowCreateUser(const ServerInfo &server)
{
    return server.number >= (server.isMariaDb ? 100200 : 50706);
}

QStringList linesOf(Session &session, const QString &statement)
{
    QStringList lines;
    for (session.gRs = session.connection().execute(statement); session.gRs.isOpen() && !session.gRs.isEof();
         session.gRs.moveNext())
        lines << session.gRs.text(0);
    session.gRs.close();
    return lines;
}

QStringList without(const QStringList &list, const QStringList &taken)
{
    QStringList rest;
    for (const QString &each : list) {
        if (!taken.contains(each))
            rest << each;
    }
    return rest;
}

QString grantTogether(const QStringList &rights, const QString &rest)
{
    return rights.isEmpty() ? QString() : QStringLiteral("GRANT ") + rights.join(QStringLiteral(", ")) + rest;
}

void sendEach(Session &session, const QStringList &statements)
{
    for (const QString &statement : statements)
        sendAndFlush(session, statement);
}

} // namespace

QString withoutPassword(QString createUser)
{
    static const QRegularExpression password(
        QStringLiteral(" IDENTIFIED (BY|WITH|VIA) .*?(?= REQUIRE | WITH MAX| PASSWORD EXPIRE| ACCOUNT |$)"),
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression expiry(QStringLiteral(" PASSWORD EXPIRE(?! NEVER| INTERVAL)( DEFAULT)?"));
    return createUser.remove(password).remove(expiry);
}

QString Scope::text() const
{
    if (level == Level::Global)
        return QStringLiteral("*.*");
    return level == Level::Database ? quotedName(database) + QStringLiteral(".*")
                                    : quotedName(database, table);
}

// Without quotes the scope is found however the session has names quoted.
bool isOn(const QString &grant, const Scope &scope)
{
    static const QRegularExpression quotes(QStringLiteral("[`\"]"));
    const QString on = QStringLiteral(" ON ") + scope.text() + u' ';
    return QString(grant).remove(quotes).contains(QString(on).remove(quotes));
}

Rights missingIn(const Rights &rights, const Rights &other)
{
    return {without(rights.names, other.names), without(rights.grantable, other.grantable), true};
}

Rights readRights(Session &session, const Account &account, const Scope &scope)
{
    Rights rights;
    if (session.connection().server().number < 50002)
        return rights;
    read(session, rowsOf(tableOf(scope), account) + whereScope(scope), rights);
    if (scope.level == Scope::Level::Table)
        read(session,
             rowsOf("column_privileges", account) + whereScope(scope) +
                 QStringLiteral(" order by privilege_type"),
             rights);
    // Without a GRANT OPTION it says nothing; beside other rights neither.
    if (rights.names.size() > 1 || rights.grantable.isEmpty()) {
        rights.names.removeAll(usage);
        rights.grantable.removeAll(usage);
    }
    return rights;
}

QStringList readAllGrants(Session &session, const Account &account)
{
    static const QRegularExpression hash(
        QStringLiteral(" IDENTIFIED (?:BY|WITH|VIA)(?: (?!REQUIRE |WITH )(?:'[^']*'|[^' ]+))*"));
    QStringList grants = linesOf(session, showGrants(account));
    for (QString &line : grants)
        line.remove(hash);
    return grants;
}

QStringList readGrants(Session &session, const Account &account, const Scope &except)
{
    QStringList grants;
    for (const QString &line : readAllGrants(session, account)) {
        if (!isOn(line, except))
            grants << line;
    }
    return grants;
}

AccountState readState(Session &session, const Account &account, const Scope &scope)
{
    AccountState state{readRights(session, account, scope), readGrants(session, account, scope), {}};
    if (knowsShowCreateUser(session.connection().server()))
        state.createUser = linesOf(session, showCreateUser(account)).value(0);
    return state;
}

Question holdsRight(const Account &account, const Scope &scope, const QString &right)
{
    QString names = quotedText(right);
    if (right == oldName(newName))
        names += QStringLiteral(", ") + quotedText(newName);
    return {rowsOf(tableOf(scope), account) + whereScope(scope) +
            (right == grantOption ? QStringLiteral(" and is_grantable = 'YES'")
                                  : QStringLiteral(" and privilege_type in (%1)").arg(names))};
}

Rights readOwnRights(Session &session)
{
    const QString own = linesOf(session, QStringLiteral("select current_user()")).value(0);
    const qsizetype at = own.lastIndexOf(u'@');
    return at < 0 ? Rights{} : readRights(session, {own.mid(at + 1), own.left(at)}, {});
}

QStringList exceptionsIn(const QStringList &grants)
{
    return grants.filter(QRegularExpression(QStringLiteral("^REVOKE ")));
}

QStringList surplusIn(const Rights &held, const Rights &wanted)
{
    const Rights surplus = missingIn(held, wanted);
    QStringList names = surplus.names;
    if (!without(surplus.grantable, without(surplus.names, {usage})).isEmpty())
        names << grantOption;
    return names;
}

QStringList grantStatements(const Account &account, const Scope &scope, const Rights &rights)
{
    const QString rest =
        QStringLiteral(" ON ") + scope.text() + QStringLiteral(" TO ") + accountName(account);
    QStringList statements{grantTogether(without(rights.names, rights.grantable), rest),
                           grantTogether(rights.grantable, rest + QStringLiteral(" WITH GRANT OPTION"))};
    statements.removeAll(QString());
    return statements;
}

QStringList revokeStatements(const Account &account, const Scope &scope, QStringList names)
{
    QStringList statements;
    names.removeAll(usage);
    // On its own: in a list with others MySQL 9 takes it from static rights only, and half from the dynamic
    // ones.
    if (names.removeAll(grantOption) > 0)
        statements << revokeRights({grantOption}, scope.text(), account);
    if (!names.isEmpty())
        statements << revokeRights(names, scope.text(), account);
    return statements;
}

void takeRights(Session &session, const Account &account, const Scope &scope, QStringList names)
{
    sendEach(session, revokeStatements(account, scope, std::move(names)));
}

void grantMissing(Session &session, const Account &account, const Scope &scope, const Rights &wanted)
{
    const Rights missing = missingIn(wanted, readRights(session, account, scope));
    sendEach(session, grantStatements(account, scope, missing));
}

void mendRights(Session &session, const Account &account, const Scope &scope, const Rights &wanted)
{
    takeRights(session, account, scope, surplusIn(readRights(session, account, scope), wanted));
    // Read again: the GRANT OPTION of one right goes with that of all others.
    grantMissing(session, account, scope, wanted);
}
