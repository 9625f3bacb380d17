#include "users/accountstatements.h"

#include "core/sql/failure.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"

#include <QRegularExpression>

namespace {

[[noreturn]] void refuseMisread(const QString &name)
{
    throw Failure(
        QStringLiteral("サーバーが別のものと読むことがある名前なので、実行しません。: 「%1」").arg(name));
}

// A text that will stand between single quotes, or double ones where it is a host. Before "_" and "%" the
// server leaves a backslash as it is; of a character beyond the basic plane it makes a "?".
QString quotable(const QString &text, bool isHost = false)
{
    static const QRegularExpression misread(QStringLiteral("'|\\\\(?![_%])|[\\x{10000}-\\x{10FFFF}]"));
    if (misread.match(text).hasMatch() || (isHost && text.contains(u'"')))
        refuseMisread(text);
    return text;
}

QString whereAccount(const Account &account)
{
    return QStringLiteral(" where user = '") + account.user + QStringLiteral("'   and host = '") +
           account.host + u'\'';
}

} // namespace

QString accountName(const Account &account)
{
    return u'\'' + quotable(account.user) + QStringLiteral("'@\"") + quotable(account.host, true) + u'"';
}

QString flushPrivileges()
{
    return QStringLiteral("FLUSH PRIVILEGES");
}

QString selectAccounts()
{
    return QStringLiteral("select * from mysql.user");
}

QString selectAccount(const Account &account)
{
    return selectAccounts() + whereAccount(account);
}

QString selectDatabaseGrants(const Account &account)
{
    return QStringLiteral("select * from mysql.db") + whereAccount(account);
}

QString selectDatabaseGrant(const Account &account, const QString &database)
{
    return selectDatabaseGrants(account) + QStringLiteral("   and db = '") + database + u'\'';
}

QString selectTableGrants(const Account &account)
{
    return QStringLiteral("select * from mysql.tables_priv") + whereAccount(account);
}

QString selectTableGrant(const Account &account, const QString &database, const QString &table)
{
    return selectTableGrants(account) + QStringLiteral("   and db = '") + database +
           QStringLiteral("'   and table_name = '") + table + u'\'';
}

QString passwordClause(const QString &password)
{
    return QStringLiteral("   IDENTIFIED BY '") + password + u'\'';
}

QString setPassword(const Account &account, const QString &password)
{
    return QStringLiteral("SET PASSWORD FOR ") + accountName(account) + QStringLiteral(" = PASSWORD('") +
           password + QStringLiteral("')");
}

QString grantGlobally(const QString &list, const Account &account, const QString &clause,
                      const QString &suffix)
{
    return QStringLiteral("GRANT ") + list + QStringLiteral("   ON *.*   TO ") + accountName(account) +
           clause + suffix;
}

QString grantOnDatabase(const QString &list, const QString &database, const Account &account)
{
    requireOwnName(database, {});
    return QStringLiteral("GRANT ") + list + QStringLiteral("   ON `") + database +
           QStringLiteral("`.*   TO ") + accountName(account);
}

QString grantOnTable(const QString &list, const QString &database, const QString &table,
                     const Account &account)
{
    requireOwnName(database, table);
    return QStringLiteral("GRANT ") + list + QStringLiteral("   ON ") + qualifiedName(database, table) +
           QStringLiteral("   TO ") + accountName(account);
}

QString createAccount(const Account &account, const QString &clause)
{
    return QStringLiteral("CREATE USER ") + accountName(account) + clause;
}

QString alterAccount(const Account &account, const QString &clause)
{
    return QStringLiteral("ALTER USER ") + accountName(account) + clause;
}

QString dropAccount(const Account &account)
{
    return QStringLiteral("DROP USER ") + accountName(account);
}

QString dropAccountIfExists(const Account &account)
{
    return QStringLiteral("DROP USER IF EXISTS ") + accountName(account);
}

QString showGrants(const Account &account)
{
    return QStringLiteral("show grants for ") + accountName(account);
}

QString showCreateUser(const Account &account)
{
    return QStringLiteral("show create user ") + accountName(account);
}

QString revokeRights(const QStringList &rights, const QString &where, const Account &account)
{
    return QStringLiteral("REVOKE ") + rights.join(QStringLiteral(", ")) + QStringLiteral(" ON ") + where +
           QStringLiteral(" FROM ") + accountName(account);
}

bool isPatternOfDatabases(const QString &name)
{
    return name.contains(u'\\') || name.contains(u'%');
}

QString databaseScope(const QString &database)
{
    if (database == u"*") // bare, it is all databases
        refuseMisread(database);
    if (isPatternOfDatabases(database)) // bare, it is no name at all
        return quotedName(quotable(database)) + QStringLiteral(".*");
    requireOwnName(database, database);
    return database + QStringLiteral(".*");
}

QString revokeGrantOption(const QString &where, const Account &account)
{
    return QStringLiteral("REVOKE GRANT OPTION ON ") + where + QStringLiteral(" FROM ") +
           accountName(account);
}

QString revokeAll(const QString &where, const Account &account)
{
    return QStringLiteral("REVOKE ALL PRIVILEGES ON ") + where + QStringLiteral(" FROM ") +
           accountName(account);
}

QString deleteTableRow(const Account &account, const QString &database, const QString &table)
{
    return QStringLiteral("delete from mysql.tables_priv where user='") + quotable(account.user) +
           QStringLiteral("'   and host=\"") + quotable(account.host, true) +
           QStringLiteral("\"   and db='") + quotable(database) + QStringLiteral("'   and Table_name ='") +
           quotable(table) + u'\'';
}

QString deleteDatabaseRow(const Account &account, const QString &database)
{
    return QStringLiteral("delete from mysql.db where host = '") + quotable(account.host, true) +
           QStringLiteral("'  and db = '") + quotable(database) + QStringLiteral("'  and user = '") +
           quotable(account.user) + u'\'';
}

QString deleteAccountRow(const Account &account)
{
    return QStringLiteral("DELETE FROM mysql.user WHERE user='") + quotable(account.user) +
           QStringLiteral("' and host='") + quotable(account.host, true) + u'\'';
}
