// Rights on databases and on tables: the same commands at two levels.
#include "core/command/serverrole.h"
#include "users/accountcommands.h"
#include "users/accountdeletion.h"
#include "users/accountnote.h"
#include "users/accountserver.h"
#include "users/rightschange.h"

#include <algorithm>

namespace {

// One of the two frames of the window, as it was at the click.
struct Level {
    QString title; // begins the questions
    std::span<const Privilege> privileges;
    const Checks &checks;
    Scope shown;  // the grant that was chosen in the list of grants
    Scope chosen; // what the next grant is on
};

Level databaseLevel(const AccountForm &form)
{
    return {QStringLiteral("DB権限"), databasePrivileges(), form.database,
            Scope::ofDatabase(form.shownDatabase), Scope::ofDatabase(form.addDatabase)};
}

Level tableLevel(const AccountForm &form)
{
    return {QStringLiteral("TABLE権限"), tablePrivileges(), form.table,
            Scope::ofTable(form.shownTableDatabase, form.shownTable),
            Scope::ofTable(form.addTableDatabase, form.addTable)};
}

bool isOnTable(const Level &level)
{
    return level.shown.level == Scope::Level::Table;
}

bool isDatabaseComplete(AccountContext &context)
{
    const AccountForm &form = context.form;
    if (form.addDatabase == noDatabase()) {
        context.dialogue.inform(QStringLiteral("DBを選択して下さい。"));
        return false;
    }
    if (std::find(form.database.begin(), form.database.end(), true) == form.database.end()) {
        context.dialogue.inform(QStringLiteral("権限にﾁｪｯｸを入れてください。"));
        return false;
    }
    return true;
}

bool isTableComplete(AccountContext &context)
{
    if (context.form.addTableDatabase == noDatabase())
        return false;
    if (context.form.addTable.isEmpty()) {
        context.dialogue.refuse(QStringLiteral("ﾃｰﾌﾞﾙが選択されていません。"));
        return false;
    }
    return true;
}

QString grantStatement(const Level &level, const Account &account)
{
    const QString list = privilegeList(level.privileges, level.checks);
    return level.chosen.level == Scope::Level::Database
               ? grantOnDatabase(list, level.chosen.database, account)
               : grantOnTable(list, level.chosen.database, level.chosen.table, account);
}

// Whatever the account holds there beyond what is kept.
void revoke(Session &session, const Account &account, const Scope &scope, const Rights &rights,
            const QStringList &kept)
{
    QStringList names = rights.names;
    if (!rights.grantable.isEmpty())
        names << QStringLiteral("GRANT OPTION");
    for (const QString &right : kept)
        names.removeAll(right);
    takeRights(session, account, scope, names);
}

// A DELETE reaches the other nodes of a cluster not at all, and finds no row where REVOKE came first; a
// REVOKE that fails at one node only would cost that node its place in the cluster.
void revokeOnCluster(Session &session, const Account &account, const Scope &scope, const Rights &rights)
{
    if (clusterOf(session.connection()).isMember())
        revoke(session, account, scope, rights, {});
}

void takeDatabaseRights(Session &session, const Account &account, const Level &level, const Rights &before)
{
    const Scope &scope = level.shown;
    const QString where = databaseScope(scope.database);
    if (revokesByName(session) && !scope.database.isEmpty()) {
        QStringList kept =
            scope == level.chosen ? checkedRights(level.privileges, level.checks) : QStringList();
        const QStringList shown = shownRights(level.privileges);
        std::copy_if(before.names.begin(), before.names.end(), std::back_inserter(kept),
                     [&](const QString &right) { return !shown.contains(right); });
        return revoke(session, account, scope, before, kept);
    }
    // The database stands here without backquotes, unlike in the GRANT; deliberate.
    sendAndFlush(session, revokeGrantOption(where, account));
    sendAndFlush(session, revokeAll(where, account));
}

void deleteTableRights(Session &session, const Account &account, const Scope &scope, const Rights &before)
{
    const QString statement = deleteTableRow(account, scope.database, scope.table);
    revokeOnCluster(session, account, scope, before);
    sendAndFlush(session, statement);
}

WantedRights wantedRights(const Level &level, const Rights &before)
{
    const QStringList shown = shownRights(level.privileges);
    const bool isTable = isOnTable(level);
    WantedRights wanted;
    for (const QString &right : before.names) {
        if (!shown.contains(right) && right != u"USAGE")
            wanted.kept.names << right;
    }
    wanted.all = wanted.kept;
    QStringList checked;
    if (level.shown == level.chosen)
        checked = checkedRights(level.privileges, level.checks);
    // No box shows the grant option of a table.
    const bool isGrantable =
        isTable ? !before.grantable.isEmpty() : checked.removeAll(QStringLiteral("GRANT OPTION"));
    wanted.all.names << checked;
    for (Rights *rights : {&wanted.kept, &wanted.all}) {
        if (!isGrantable || (rights == &wanted.kept && !isTable))
            continue;
        if (rights->names.isEmpty())
            rights->names << QStringLiteral("USAGE");
        rights->grantable = rights->names;
    }
    return wanted;
}

AccountOutcome addGrant(AccountContext &context, const Level &level)
{
    if (!context.dialogue.confirm(level.title + QStringLiteral("を追加します。"), Icon::Information))
        return {};
    const bool isAdded = report(context.dialogue, QStringLiteral("追加しました。"), [&] {
        sendAndFlush(context.session, grantStatement(level, context.form.account));
    });
    return {isAdded ? Refresh::Account : Refresh::Nothing};
}

bool changeGrant(AccountContext &context, const Level &level)
{
    if (!context.dialogue.confirm(level.title + QStringLiteral("を変更します。"), Icon::Information))
        return false;
    Session &session = context.session;
    const Account &account = context.form.account;
    RightsChange change;
    change.scope = level.shown;
    change.grantScope = level.chosen;
    change.granted = checkedRights(level.privileges, level.checks);
    change.wanted = [&](const Rights &before) { return wantedRights(level, before); };
    change.take = [&](const AccountState &before) {
        grantStatement(level, account); // refused before anything is taken
        if (!isOnTable(level))
            takeDatabaseRights(session, account, level, before.rights);
        else
            deleteTableRights(session, account, level.shown, before.rights);
    };
    change.grant = [&](const AccountState &) { sendAndFlush(session, grantStatement(level, account)); };
    change.isAllPutBack = !isOnTable(level) && revokesByName(session);
    return changeRights(context, change);
}

AccountOutcome deleteGrant(AccountContext &context, const Level &level, const std::function<QString()> &row)
{
    if (!context.dialogue.confirm(level.title + QStringLiteral("を削除します。"), Icon::Critical))
        return {};
    Session &session = context.session;
    const Account &account = context.form.account;
    const bool isDeleted = report(context.dialogue, QStringLiteral("削除しました。"), [&] {
        const QString statement = row();
        AccountNote note(session, account, QStringLiteral("の権限の削除"));
        note.open();
        const Rights before = readRights(session, account, level.shown);
        note.write(grantStatements(account, level.shown, before), level.shown, {},
                   QStringLiteral("権限を消す途中でした。"));
        revokeOnCluster(session, account, level.shown, before);
        sendNoted(session, note, {statement});
        if (isOnTable(level))
            deleteColumnRows(session, account, level.shown);
        note.close();
    });
    return {isDeleted ? Refresh::Account : Refresh::Nothing};
}

} // namespace

AccountOutcome addDatabaseGrant(AccountContext &context)
{
    return isDatabaseComplete(context) ? addGrant(context, databaseLevel(context.form)) : AccountOutcome{};
}

AccountOutcome changeDatabaseGrant(AccountContext &context)
{
    if (!isDatabaseComplete(context) || !changeGrant(context, databaseLevel(context.form)))
        return {};
    return {Refresh::Account, context.form.addDatabase, {}};
}

AccountOutcome deleteDatabaseGrant(AccountContext &context)
{
    const Level level = databaseLevel(context.form);
    const Account &account = context.form.account;
    return deleteGrant(context, level, [&] { return deleteDatabaseRow(account, level.shown.database); });
}

AccountOutcome addTableGrant(AccountContext &context)
{
    return isTableComplete(context) ? addGrant(context, tableLevel(context.form)) : AccountOutcome{};
}

AccountOutcome changeTableGrant(AccountContext &context)
{
    if (!isTableComplete(context) || !changeGrant(context, tableLevel(context.form)))
        return {};
    return {Refresh::Account, {}, context.form.addTableDatabase + u'\t' + context.form.addTable};
}

AccountOutcome deleteTableGrant(AccountContext &context)
{
    const Level level = tableLevel(context.form);
    const Account &account = context.form.account;
    return deleteGrant(context, level,
                       [&] { return deleteTableRow(account, level.shown.database, level.shown.table); });
}
