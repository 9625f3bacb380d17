#include "users/accountdeletion.h"

#include "core/command/serverrole.h"
#include "core/sql/statements.h"
#include "users/accountcommands.h"
#include "users/accountnote.h"
#include "users/accountserver.h"
#include "users/rightschange.h"

#include <array>

namespace {

struct GrantTable {
    const char *name, *userColumn, *hostColumn;
};

// Not every server has all of them.
constexpr std::array<GrantTable, 11> grantTables{{
    {"tables_priv", "User", "Host"},
    {"columns_priv", "User", "Host"},
    {"procs_priv", "User", "Host"},
    {"db", "User", "Host"},
    {"proxies_priv", "User", "Host"},
    // MariaDB
    {"roles_mapping", "User", "Host"},
    // MySQL 8
    {"global_grants", "USER", "HOST"},
    {"default_roles", "USER", "HOST"},
    {"password_history", "User", "Host"},
    {"role_edges", "TO_USER", "TO_HOST"},
    {"role_edges", "FROM_USER", "FROM_HOST"},
}};

QString fromTable(const GrantTable &table, const Account &account)
{
    return QStringLiteral("from mysql.") + QLatin1String(table.name) + QStringLiteral(" where ") +
           QLatin1String(table.userColumn) + QStringLiteral(" = '") + account.user +
           QStringLiteral("' and ") + QLatin1String(table.hostColumn) + QStringLiteral(" = '") +
           account.host + u'\'';
}

bool holdsRows(Session &session, const QString &from)
{
    constexpr int noSuchTable = 1146;
    try {
        session.gRs = session.connection().execute(QStringLiteral("select 1 ") + from);
        const bool hasRows = session.gRs.isOpen() && !session.gRs.isEof();
        session.gRs.close();
        return hasRows;
    } catch (const Failure &error) {
        if (error.number() != noSuchTable)
            throw;
        return false;
    }
}

void deleteRows(Session &session, const QString &from)
{
    if (holdsRows(session, from))
        sendAndFlush(session, QStringLiteral("delete ") + from);
}

// What the server does not tell cannot be given back.
QStringList grantsBefore(Session &session, const Account &account)
{
    try {
        return readAllGrants(session, account);
    } catch (const Failure &error) {
        if (doubtAfter(session, error) != Doubt::None)
            throw;
        return {};
    }
}

QStringList removalStatements(const AccountForm &form)
{
    QStringList statements;
    for (const QString &item : form.tables)
        statements << deleteTableRow(form.account, item.section(u'\t', 0, 0), item.section(u'\t', 1));
    for (const QString &database : form.databases)
        statements << deleteDatabaseRow(form.account, database);
    return statements << revokeAll(QStringLiteral("*.*"), form.account) << deleteAccountRow(form.account);
}

void removeAccount(Session &session, const AccountForm &form)
{
    const QStringList statements = removalStatements(form);
    AccountNote note(session, form.account, QStringLiteral("の削除"));
    note.open();
    note.writeRemoval(grantsBefore(session, form.account), dropAccount(form.account));
    sendNoted(session, note, statements);
    // A row left there would keep the name from being used again (1396) or give its rights to the next owner
    // of the name.
    for (const GrantTable &table : grantTables)
        deleteRows(session, fromTable(table, form.account));
    if (clusterOf(session.connection()).isMember())
        sendAndFlush(session, dropAccountIfExists(form.account));
    note.close();
}

} // namespace

void deleteColumnRows(Session &session, const Account &account, const Scope &scope)
{
    accountName(account); // refuses names that would be read otherwise
    deleteRows(session, fromTable({"columns_priv", "User", "Host"}, account) + QStringLiteral(" and db = ") +
                            quotedText(scope.database) + QStringLiteral(" and table_name = ") +
                            quotedText(scope.table));
}

AccountOutcome deleteAccount(AccountContext &context)
{
    if (!context.dialogue.confirm(QStringLiteral("ﾕｰｻﾞｰを削除します。"), Icon::Critical))
        return {};
    const bool isDeleted = report(context.dialogue, QStringLiteral("削除しました。"),
                                  [&] { removeAccount(context.session, context.form); });
    return {isDeleted ? Refresh::Lists : Refresh::Nothing};
}
