#include "server/accounts/accountreading.h"

#include "core/sql/answers.h"
#include "core/sql/passwords.h"
#include "core/sql/statements.h"
#include "server/serverpage.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

QString tlsText(const RecordSet &rows)
{
    const QString type = textOf(rows, "ssl_type");
    if (type != u"SPECIFIED")
        return type == u"ANY" ? QStringLiteral("SSL") : type;
    QStringList demands;
    for (const auto &[field, word] :
         {std::pair("ssl_cipher", "CIPHER"), {"x509_issuer", "ISSUER"}, {"x509_subject", "SUBJECT"}})
        if (const QString value = textOf(rows, field); !value.isEmpty())
            demands << QLatin1String(word) + u' ' + value;
    return demands.join(QStringLiteral(", "));
}

QString expiryText(const RecordSet &rows)
{
    if (textOf(rows, "password_expired") == u"Y")
        return QStringLiteral("期限切れ");
    const QString days = textOf(rows, "password_lifetime"); // -1 in MariaDB: the server's own
    if (days.toInt() > 0)
        return days + QStringLiteral(" 日");
    return days == u"0" ? QStringLiteral("なし") : QString();
}

QString limitsText(const RecordSet &rows)
{
    QStringList limits;
    for (const auto &[field, word] : {std::pair("max_questions", "文/時 "),
                                      {"max_updates", "変更/時 "},
                                      {"max_connections", "接続/時 "},
                                      {"max_user_connections", "同時接続 "},
                                      {"max_statement_time", "秒/文 "}})
        if (const QString value = textOf(rows, field); value.toDouble() != 0)
            limits << QString::fromUtf8(word) + value;
    return limits.join(QStringLiteral("、"));
}

ServerAccount accountOf(const RecordSet &rows)
{
    ServerAccount account{{textOf(rows, "user"), textOf(rows, "host")},
                          textOf(rows, "is_role") == u"Y",
                          textOf(rows, "plugin"),
                          tlsText(rows),
                          expiryText(rows),
                          limitsText(rows),
                          {},
                          textOf(rows, "account_locked") == u"Y"};
    if (const QString role = textOf(rows, "default_role"); !role.isEmpty()) // of MariaDB, where it is one
        account.defaultRoles = {{role}};
    if (account.isRole)
        account.name.host.reset();
    // CREATE ROLE of MySQL makes an account that nobody can log in with.
    const int hash = rows.fieldIndex(QStringLiteral("authentication_string"));
    if (account.isLocked && hash >= 0 && textOf(rows, "authentication_string").isEmpty())
        account.isRole = true;
    return account;
}

// MySQL 8 and later: which account has which roles, and which of them by default.
void readRoles(Connection &connection, std::vector<ServerAccount> &accounts)
{
    const auto find = [&accounts](const QString &user, const QString &host) {
        return std::ranges::find(accounts, AccountName{user, host}, &ServerAccount::name);
    };
    RecordSet edges = connection.execute(QStringLiteral("select from_user, from_host from mysql.role_edges"));
    for (; !edges.isEof(); edges.moveNext())
        if (const auto role = find(edges.text(0), edges.text(1)); role != accounts.end())
            role->isRole = true;
    RecordSet rows = connection.execute(
        QStringLiteral("select user, host, default_role_user, default_role_host from mysql.default_roles"));
    for (; !rows.isEof(); rows.moveNext())
        if (const auto account = find(rows.text(0), rows.text(1)); account != accounts.end())
            account->defaultRoles.push_back({rows.text(2), rows.text(3)});
}

// MariaDB, since 10.4, keeps what its mysql.user does not show.
void readLocks(Connection &connection, std::vector<ServerAccount> &accounts)
{
    RecordSet rows = connection.execute(
        QStringLiteral("select user, host, json_value(priv, '$.account_locked') as account_locked, "
                       "json_value(priv, '$.password_lifetime') as password_lifetime "
                       "from mysql.global_priv"));
    for (; !rows.isEof(); rows.moveNext()) {
        const auto account =
            std::ranges::find(accounts, AccountName{rows.text(0), rows.text(1)}, &ServerAccount::name);
        if (account == accounts.end())
            continue;
        account->isLocked = textOf(rows, "account_locked") == u"1";
        if (account->expiry.isEmpty())
            account->expiry = expiryText(rows);
    }
}

AccountName ownName(Connection &connection)
{
    const QString own = connection.execute(QStringLiteral("select current_user()")).text(0);
    const qsizetype at = own.lastIndexOf(u'@');
    return {own.left(at), own.mid(at + 1)};
}

} // namespace

AccountList readAccountList(Connection &connection)
{
    AccountList list;
    list.own = ownName(connection);
    try {
        RecordSet rows = connection.execute(QStringLiteral("select * from mysql.user order by user, host"));
        for (; !rows.isEof(); rows.moveNext())
            list.accounts.push_back(accountOf(rows));
        const ServerInfo server = connection.server();
        if (!server.isMariaDb && server.number >= 80000)
            readRoles(connection, list.accounts);
        if (server.isMariaDb && server.number >= 100400)
            readLocks(connection, list.accounts);
    } catch (const Failure &failure) {
        if (!isMissingRight(failure))
            throw;
        list.missing = wordsOf(failure);
        if (list.accounts.empty())
            list.accounts.push_back({list.own, {}, {}, {}, {}, {}, {}, {}});
    }
    return list;
}

QStringList readGrantLines(Connection &connection, const AccountName &account)
{
    // The old servers tell the hash of the password.
    static const QRegularExpression password(
        QStringLiteral(" IDENTIFIED (BY PASSWORD|VIA|WITH) .*?(?= REQUIRE | WITH |$)"));
    QStringList lines;
    RecordSet rows = connection.execute(QStringLiteral("show grants for ") + account.quoted());
    for (; !rows.isEof(); rows.moveNext())
        lines << rows.text(0).remove(password);
    return lines;
}

std::vector<KnownPrivilege> readPrivileges(Connection &connection)
{
    static const QStringList notRights{"GRANT OPTION", "PROXY", "USAGE"};
    std::vector<KnownPrivilege> privileges;
    for (RecordSet rows = connection.execute(QStringLiteral("show privileges")); !rows.isEof();
         rows.moveNext()) {
        const QString name = rows.text(0).toUpper();
        if (!notRights.contains(name))
            privileges.push_back({name, rows.text(1)});
    }
    std::ranges::sort(privileges, {}, &KnownPrivilege::name);
    return privileges;
}

namespace {

// MySQL's SHOW GRANTS tells nothing of default roles, MariaDB's does.
QStringList readRights(Connection &connection, const AccountName &account)
{
    QStringList lines = readGrantLines(connection, account);
    const ServerInfo server = connection.server();
    if (server.isMariaDb || server.number < 80000)
        return lines;
    try {
        // Not from SHOW CREATE USER, where they stand behind a hash that may hold any byte.
        QStringList roles;
        RecordSet rows = connection.execute(
            QStringLiteral("select default_role_user, default_role_host from mysql.default_roles "
                           "where user=%1 and host=%2")
                .arg(quotedText(account.user), quotedText(account.host.value_or(QString()))));
        for (; !rows.isEof(); rows.moveNext())
            roles << AccountName{rows.text(0), rows.text(1)}.quoted();
        if (!roles.isEmpty())
            lines << defaultRoleStatement(roles, account, false);
    } catch (const Failure &failure) {
        if (!isMissingRight(failure))
            throw;
    }
    return lines;
}

} // namespace

RightsChanged changeRights(Connection &connection, const AccountName &account, const QStringList &statements)
{
    const QStringList before = readRights(connection, account);
    RightsChanged changed;
    try {
        for (const QString &statement : statements)
            connection.execute(statement);
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        changed.refusal = failure.description();
    }
    const QStringList after = readRights(connection, account);
    std::ranges::copy_if(before, std::back_inserter(changed.gone),
                         [&](const QString &line) { return !after.contains(line); });
    std::ranges::copy_if(after, std::back_inserter(changed.come),
                         [&](const QString &line) { return !before.contains(line); });
    return changed;
}
