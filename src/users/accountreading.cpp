#include "users/accountreading.h"

#include "users/accountstatements.h"

#include <functional>

namespace {

// Each row of the answer through the session's record set.
void forEachRow(Session &session, const QString &statement, const std::function<void(RecordSet &row)> &take)
{
    RecordSet &rows = session.gRs;
    for (rows = session.connection().execute(statement); rows.isOpen() && !rows.isEof(); rows.moveNext())
        take(rows);
    rows.close();
}

// By the column of each privilege: "Y" is granted.
ShownChecks checksOf(std::span<const Privilege> privileges, RecordSet &row)
{
    ShownChecks checks;
    for (const Privilege &privilege : privileges) {
        const int column = row.fieldIndex(privilege.source.toString());
        checks.push_back(column < 0 ? std::optional<bool>() : row.text(column) == u"Y");
    }
    return checks;
}

} // namespace

QStringList readAccounts(Session &session)
{
    QStringList accounts;
    forEachRow(session, selectAccounts(), [&](RecordSet &row) {
        accounts << row.text(QStringLiteral("Host")) + u'\t' + row.text(QStringLiteral("User"));
    });
    return accounts;
}

QStringList readDatabaseNames(Session &session)
{
    QStringList names;
    forEachRow(session, QStringLiteral("show databases;"),
               [&](RecordSet &row) { names << row.text(QStringLiteral("database")); });
    return names;
}

QStringList readTableNames(Session &session, const QString &database)
{
    QStringList names;
    forEachRow(session, QStringLiteral("show tables from `") + database + QStringLiteral("`;"),
               [&](RecordSet &row) { names << row.text(0); });
    return names;
}

GlobalRights readGlobalRights(Session &session, const Account &account)
{
    GlobalRights rights;
    forEachRow(session, selectAccount(account), [&](RecordSet &row) {
        rights.checks = checksOf(globalPrivileges(), row);
        const int role = row.fieldIndex(QStringLiteral("is_role"));
        rights.isRole = role >= 0 && row.text(role) == u"Y";
    });
    return rights;
}

QStringList readDatabasesGranted(Session &session, const Account &account)
{
    QStringList databases;
    forEachRow(session, selectDatabaseGrants(account),
               [&](RecordSet &row) { databases << row.text(QStringLiteral("Db")); });
    return databases;
}

QStringList readTablesGranted(Session &session, const Account &account)
{
    QStringList tables;
    forEachRow(session, selectTableGrants(account), [&](RecordSet &row) {
        tables << row.text(QStringLiteral("Db")) + u'\t' + row.text(QStringLiteral("Table_name"));
    });
    return tables;
}

ShownChecks readDatabaseRights(Session &session, const Account &account, const QString &database)
{
    ShownChecks checks;
    forEachRow(session, selectDatabaseGrant(account, database),
               [&](RecordSet &row) { checks = checksOf(databasePrivileges(), row); });
    return checks;
}

ShownChecks readTableRights(Session &session, const Account &account, const QString &database,
                            const QString &table)
{
    ShownChecks checks;
    forEachRow(session, selectTableGrant(account, database, table), [&](RecordSet &row) {
        checks.clear();
        for (const Privilege &privilege : tablePrivileges())
            checks.push_back(setHolds(row.text(QStringLiteral("Table_priv")), privilege.source));
    });
    return checks;
}
