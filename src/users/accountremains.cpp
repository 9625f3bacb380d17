#include "users/accountremains.h"

#include "users/accountchanges.h"

#include <array>

namespace {

struct GrantTable {
    const char *name, *userColumn, *hostColumn;
};

// Not every server has all of them.
constexpr std::array<GrantTable, 10> grantTables{{
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
    } catch (const SqlError &error) {
        if (error.number() != noSuchTable)
            throw;
        return false;
    }
}

} // namespace

void removeRemains(Session &session, const Account &account)
{
    for (const GrantTable &table : grantTables) {
        const QString from = fromTable(table, account);
        if (holdsRows(session, from))
            sendAndFlush(session, QStringLiteral("delete ") + from);
    }
}
