#include "server/accounts/accountcreation.h"

#include "core/command/undolog.h"
#include "core/sql/passwords.h"
#include "core/sql/statements.h"

namespace {

// Whether CREATE USER takes TLS, limits and expiry.
bool createsAtOnce(const ServerInfo &server)
{
    return server.number >= (server.isMariaDb ? 100200 : 50706);
}

QString secret(const QString &text, bool escapes)
{
    return escapes ? quotedText(text) : u'\'' + QString(text).replace(u'\'', QStringLiteral("''")) + u'\'';
}

QString identified(const ServerInfo &server, const NewAccount &account, bool escapes)
{
    const QString password = secret(account.password, escapes);
    if (account.plugin.isEmpty())
        return account.password.isEmpty() ? QString() : QStringLiteral(" IDENTIFIED BY ") + password;
    const QString plugin = quotedName(account.plugin);
    if (account.password.isEmpty())
        return (server.isMariaDb ? QStringLiteral(" IDENTIFIED VIA ") : QStringLiteral(" IDENTIFIED WITH ")) +
               plugin;
    return server.isMariaDb ? QStringLiteral(" IDENTIFIED VIA %1 USING PASSWORD(%2)").arg(plugin, password)
                            : QStringLiteral(" IDENTIFIED WITH %1 BY %2").arg(plugin, password);
}

QString demands(const NewAccount &account)
{
    QString text = account.tls.isEmpty() ? QString() : QStringLiteral(" REQUIRE ") + account.tls;
    QString limits;
    for (const auto &[word, number] : {std::pair("MAX_QUERIES_PER_HOUR", account.statementsPerHour),
                                       {"MAX_UPDATES_PER_HOUR", account.changesPerHour},
                                       {"MAX_CONNECTIONS_PER_HOUR", account.connectionsPerHour},
                                       {"MAX_USER_CONNECTIONS", account.connections}})
        if (number > 0)
            limits += QStringLiteral(" %1 %2").arg(QLatin1String(word)).arg(number);
    return limits.isEmpty() ? text : text + QStringLiteral(" WITH") + limits;
}

QString expiry(const NewAccount &account)
{
    using Expiry = NewAccount::Expiry;
    switch (account.expiry) {
    case Expiry::Never:
        return QStringLiteral(" PASSWORD EXPIRE NEVER");
    case Expiry::Now:
        return QStringLiteral(" PASSWORD EXPIRE");
    case Expiry::Days:
        return QStringLiteral(" PASSWORD EXPIRE INTERVAL %1 DAY").arg(account.days);
    case Expiry::Standard:
        break;
    }
    return {};
}

// Where a word of it would be refused by an old server, it is not sent at all.
void requireMakeable(const ServerInfo &server, const NewAccount &account)
{
    using Expiry = NewAccount::Expiry;
    const auto refuse = [](const QString &words) { throw Failure(words); };
    if (account.name.user.isEmpty())
        refuse(QStringLiteral("名前が空です。"));
    if (account.isRole && server.number < (server.isMariaDb ? 100005 : 80000))
        refuse(QStringLiteral("このサーバーに役割はありません。"));
    if (!account.plugin.isEmpty() && !account.password.isEmpty() && !takesPluginAndPassword(server))
        refuse(QStringLiteral("このサーバーは、認証プラグインとパスワードを同時に受け付けません。"));
    if ((account.expiry == Expiry::Never || account.expiry == Expiry::Days) && !takesExpiryTimes(server))
        refuse(QStringLiteral("このサーバーは、パスワードの期限を受け付けません。"));
}

// The statements themselves are not noted: they hold the password.
Step leftUnfinished(const AccountName &account)
{
    Step step;
    step.untilUndone =
        QStringLiteral("アカウント %1 を作る途中でした。あるときは、TLS (REQUIRE)、接続数などの"
                       "制限、期限がまだありません。")
            .arg(account.shown());
    WayBack back{QStringLiteral("DROP USER ") + account.quoted()};
    back.when = isThere(QStringLiteral("select 1 from mysql.user where user=%1 and host=%2")
                            .arg(quotedText(account.user), quotedText(account.host.value_or(QString()))));
    step.back.push_back(back);
    return step;
}

QString sendAll(Connection &connection, const AccountName &account, const QStringList &statements)
{
    for (qsizetype i = 0; i < statements.size(); ++i) {
        try {
            connection.execute(statements[i]);
        } catch (const Failure &failure) {
            if (failure.isConnectionLost() || failure.isInterrupted())
                throw Failure(withoutQuotedPart(failure.description()), failure.number(), failure.state());
            if (i > 0)
                connection.execute(QStringLiteral("DROP USER ") + account.quoted());
            return withoutQuotedPart(failure.description());
        }
    }
    return {};
}

} // namespace

bool takesExpiryTimes(const ServerInfo &server)
{
    return server.number >= (server.isMariaDb ? 100403 : 50706);
}

bool takesPluginAndPassword(const ServerInfo &server)
{
    return server.number >= (server.isMariaDb ? 100400 : 50706);
}

QStringList createAccountStatements(const ServerInfo &server, const NewAccount &account, bool escapes)
{
    requireMakeable(server, account);
    if (account.isRole)
        return {QStringLiteral("CREATE ROLE ") + account.name.quoted()};
    const QString name = account.name.quoted();
    const QString create = QStringLiteral("CREATE USER ") + name + identified(server, account, escapes);
    if (createsAtOnce(server) && (takesExpiryTimes(server) || account.expiry == NewAccount::Expiry::Standard))
        return {create + demands(account) + expiry(account)};
    QStringList statements{create};
    if (const QString rest = demands(account); !rest.isEmpty())
        statements << QStringLiteral("GRANT USAGE ON *.* TO ") + name + rest;
    if (account.expiry == NewAccount::Expiry::Now)
        statements << QStringLiteral("ALTER USER ") + name + expiry(account);
    return statements;
}

QString makeAccount(Session &session, const AccountName &account, const QStringList &statements)
{
    if (statements.size() == 1)
        return sendAll(session.connection(), account, statements);
    const Step step = leftUnfinished(account);
    try {
        // The note would drop it.
        if (isSo(session.connection(), step.back.front().when))
            return QStringLiteral("アカウント %1 は、すでにあります。").arg(account.shown());
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        // Who may not read the accounts may still make one; what is there then could not be taken back.
        return sendAll(session.connection(), account, statements);
    }
    UndoLog log(session, QStringLiteral("アカウント %1 の作成").arg(account.shown()));
    log.open();
    log.note(step);
    try {
        const QString refusal = sendAll(session.connection(), account, statements);
        log.close();
        return refusal;
    } catch (const Failure &) {
        log.leave();
        throw;
    }
}

QStringList readLoginPlugins(Connection &connection)
{
    QStringList plugins;
    RecordSet rows = connection.execute(
        QStringLiteral("select plugin_name from information_schema.plugins "
                       "where plugin_type = 'AUTHENTICATION' and plugin_status = 'ACTIVE' order by 1"));
    for (; !rows.isEof(); rows.moveNext())
        plugins << rows.text(0);
    return plugins;
}
