#pragma once

#include <QString>
#include <QStringList>

// The server's accounts are pairs of host and user.
struct Account {
    QString host;
    QString user;
};

// Statement texts of the users window. Nothing is escaped: the window trusts its administrator. But texts
// that change something refuse names (Failure) that would make them act on another account, database or
// table. The uneven blanks and quotes are deliberate.
QString accountName(const Account &account); // 'user'@"host"
QString flushPrivileges();

QString selectAccounts();
QString selectAccount(const Account &account);
QString selectDatabaseGrants(const Account &account);
QString selectDatabaseGrant(const Account &account, const QString &database);
QString selectTableGrants(const Account &account);
QString selectTableGrant(const Account &account, const QString &database, const QString &table);

// password: as it stands between single quotes.
QString passwordClause(const QString &password);
QString setPassword(const Account &account, const QString &password);
// list: as privilegeList() builds it; clause and suffix may be empty.
QString grantGlobally(const QString &list, const Account &account, const QString &clause,
                      const QString &suffix);
QString grantOnDatabase(const QString &list, const QString &database, const Account &account);
QString grantOnTable(const QString &list, const QString &database, const QString &table,
                     const Account &account);

// For servers that refuse IDENTIFIED BY inside GRANT.
QString createAccount(const Account &account, const QString &clause);
QString alterAccount(const Account &account, const QString &clause);

QString dropAccount(const Account &account);
// For every node of a cluster, whether the account is still there or not.
QString dropAccountIfExists(const Account &account);
QString showGrants(const Account &account);
QString showCreateUser(const Account &account);

// All rights on a database: its name, as it is, and ".*"
QString databaseScope(const QString &database);
// "a\_b" or "a%": a grant on it is one on all databases of such names, also later ones.
bool isPatternOfDatabases(const QString &name);
// where: "*.*" or a databaseScope()
QString revokeGrantOption(const QString &where, const Account &account);
QString revokeAll(const QString &where, const Account &account);

// Named rights ("SELECT", "GRANT OPTION"); where: any level's name, quoted.
QString revokeRights(const QStringList &rights, const QString &where, const Account &account);

QString deleteTableRow(const Account &account, const QString &database, const QString &table);
QString deleteDatabaseRow(const Account &account, const QString &database);
QString deleteAccountRow(const Account &account);
