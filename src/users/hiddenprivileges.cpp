#include "users/hiddenprivileges.h"

#include "users/accountchanges.h"
#include "users/privileges.h"

#include <optional>

namespace {

// The catalogue spells names without regard to case; accounts and tables differ by it.
QString rowsOf(const QString &table, const Account &account)
{
    accountName(account); // refuses names that would be read otherwise here too
    return QStringLiteral("select * from information_schema.") + table +
           QStringLiteral(" where grantee = binary concat('''', '") + account.user +
           QStringLiteral("', '''@''', '") + account.host + QStringLiteral("', '''')");
}

QString onDatabase(const QString &database)
{
    return QStringLiteral(" and table_schema = binary '") + database + u'\'';
}

QString onTable(const QString &database, const QString &table)
{
    return onDatabase(database) + QStringLiteral(" and table_name = binary '") + table + u'\'';
}

bool hasCatalogue(Session &session)
{
    return session.connection().server().number >= 50002;
}

QString quoted(QString name)
{
    return u'`' + name.replace(u'`', QStringLiteral("``")) + u'`';
}

struct CatalogueRow {
    QString right;
    QString column; // of column_privileges only
    bool isGrantable = false;
};

std::vector<CatalogueRow> read(Session &session, const QString &statement)
{
    std::vector<CatalogueRow> rows;
    session.gRs = session.connection().execute(statement);
    RecordSet &set = session.gRs;
    if (!set.isOpen())
        return rows;
    const int column = set.fieldIndex(QStringLiteral("column_name"));
    for (; !set.isEof(); set.moveNext()) {
        rows.push_back({set.text(QStringLiteral("privilege_type")), column < 0 ? QString() : set.text(column),
                        set.text(QStringLiteral("is_grantable")) == u"YES"});
    }
    set.close();
    return rows;
}

bool isHidden(const CatalogueRow &row, std::span<const Privilege> shown)
{
    return row.right != u"USAGE" && !isShown(shown, row.right);
}

// "SELECT (`a`, `b`)" from the rows of SELECT on a and on b.
QStringList columnRights(const std::vector<CatalogueRow> &rows)
{
    QStringList rights;
    QString last;
    for (const CatalogueRow &row : rows) {
        if (row.right == last)
            rights.last().insert(rights.last().size() - 1, QStringLiteral(", ") + quoted(row.column));
        else
            rights << row.right + QStringLiteral(" (") + quoted(row.column) + u')';
        last = row.right;
    }
    return rights;
}

// The rights by name, those on columns included.
QStringList allRights(const std::vector<CatalogueRow> &rows, const QStringList &onColumns = {})
{
    QStringList all;
    bool isGrantable = false;
    for (const CatalogueRow &row : rows) {
        isGrantable = isGrantable || row.isGrantable;
        if (row.column.isEmpty() && row.right != u"USAGE")
            all << row.right;
    }
    all << onColumns;
    return isGrantable ? all << QStringLiteral("GRANT OPTION") : all;
}

// What was refused first, if anything was.
using Refusal = std::optional<SqlError>;

Refusal grantEach(Session &session, const QStringList &rights, const QString &rest)
{
    Refusal first;
    for (const QString &right : rights) {
        try {
            sendAndFlush(session, QStringLiteral("GRANT ") + right + rest);
        } catch (const SqlError &error) {
            if (!first)
                first = error;
        }
    }
    return first;
}

Refusal grantTogether(Session &session, const QStringList &rights, const QString &rest)
{
    if (rights.isEmpty())
        return {};
    try {
        sendAndFlush(session, QStringLiteral("GRANT ") + rights.join(QStringLiteral(", ")) + rest);
        return {};
    } catch (const SqlError &error) {
        // MySQL 8 lists dynamic rights of components that are gone and refuses to grant them.
        return error.isConnectionLost() || rights.size() == 1 ? error : grantEach(session, rights, rest);
    }
}

} // namespace

HiddenPrivileges HiddenPrivileges::withoutShown() const
{
    QStringList hidden = rights + grantable;
    hidden.removeAll(QStringLiteral("USAGE"));
    if (!grantable.isEmpty())
        hidden << QStringLiteral("GRANT OPTION");
    return {where, rights, grantable, hidden};
}

HiddenPrivileges HiddenPrivileges::withoutGrantOption() const
{
    return {where, rights + grantable, {}, all};
}

HiddenPrivileges readHiddenGlobal(Session &session, const Account &account)
{
    HiddenPrivileges hidden{QStringLiteral("*.*"), {}, {}, {}};
    if (!hasCatalogue(session))
        return hidden;
    const auto rows = read(session, rowsOf(QStringLiteral("user_privileges"), account));
    hidden.all = allRights(rows);
    for (const CatalogueRow &row : rows) {
        if (isHidden(row, globalPrivileges()))
            (row.isGrantable ? hidden.grantable : hidden.rights) << row.right;
    }
    return hidden;
}

HiddenPrivileges readHiddenOnDatabase(Session &session, const Account &account, const QString &database)
{
    HiddenPrivileges hidden{quoted(database) + QStringLiteral(".*"), {}, {}, {}};
    if (!hasCatalogue(session))
        return hidden;
    const QString statement = rowsOf(QStringLiteral("schema_privileges"), account) + onDatabase(database);
    const auto rows = read(session, statement);
    hidden.all = allRights(rows);
    // The GRANT box stands for the grant option of all rights on the database.
    for (const CatalogueRow &row : rows) {
        if (isHidden(row, databasePrivileges()))
            hidden.rights << row.right;
    }
    return hidden;
}

HiddenPrivileges readHiddenOnTable(Session &session, const Account &account, const QString &database,
                                   const QString &table)
{
    HiddenPrivileges hidden{quoted(database) + u'.' + quoted(table), {}, {}, {}};
    if (!hasCatalogue(session))
        return hidden;
    const QString where = onTable(database, table);
    const auto rows = read(session, rowsOf(QStringLiteral("table_privileges"), account) + where);
    const auto columns = read(session, rowsOf(QStringLiteral("column_privileges"), account) + where +
                                           QStringLiteral(" order by privilege_type"));
    bool isGrantable = false;
    for (const CatalogueRow &row : rows) {
        isGrantable = isGrantable || row.isGrantable;
        if (isHidden(row, tablePrivileges()))
            hidden.rights << row.right;
    }
    for (const CatalogueRow &row : columns)
        isGrantable = isGrantable || row.isGrantable;
    hidden.rights << columnRights(columns);
    hidden.all = allRights(rows, columnRights(columns));
    if (isGrantable && !hidden.all.contains(QStringLiteral("GRANT OPTION")))
        hidden.all << QStringLiteral("GRANT OPTION");
    // No box shows the grant option of a table.
    if (isGrantable) {
        hidden.grantable = hidden.rights.isEmpty() ? QStringList{QStringLiteral("USAGE")} : hidden.rights;
        hidden.rights.clear();
    }
    return hidden;
}

void grantBack(Session &session, const Account &account, const HiddenPrivileges &hidden)
{
    const QString rest =
        QStringLiteral(" ON ") + hidden.where + QStringLiteral(" TO ") + accountName(account);
    const Refusal rights = grantTogether(session, hidden.rights, rest);
    const Refusal grantable =
        grantTogether(session, hidden.grantable, rest + QStringLiteral(" WITH GRANT OPTION"));
    if (const Refusal &refusal = rights ? rights : grantable)
        throw SqlError(*refusal);
}

void tellLostRights(Dialogue &dialogue, const Account &account, const HiddenPrivileges &before,
                    const std::function<HiddenPrivileges()> &readAgain)
{
    QStringList lost = before.all;
    if (lost.isEmpty())
        return;
    try {
        for (const QString &right : readAgain().all)
            lost.removeAll(right);
    } catch (const SqlError &) {
        // All of them, then.
    }
    if (!lost.isEmpty())
        dialogue.refuse(
            QStringLiteral("次の権限が失われた可能性があります。無ければ、次の文で戻して下さい。\r\n"
                           "GRANT %1 ON %2 TO %3")
                .arg(lost.join(QStringLiteral(", ")), before.where, accountName(account)));
}
