#include "users/accountcommands.h"

#include "core/command/doubt.h"
#include "core/sql/statements.h"
#include "users/accountserver.h"
#include "users/rightschange.h"

#include <array>

namespace {

const QString everything = QStringLiteral("*.*");

QString grantSuffix(const Checks &checks)
{
    return checks[globalGrantBox] ? QStringLiteral(" WITH GRANT OPTION") : QString();
}

// How far an addition came.
enum class Added { Nothing, Account, DatabaseGrant, TableGrant };

void add(Session &session, const AccountForm &form, const GlobalGrant &grant, Added &step)
{
    sendGlobalGrant(session, grant);
    step = Added::Account;
    if (form.addDatabase != noDatabase()) {
        const QString list = requiredPrivilegeList(databasePrivileges(), form.database);
        sendAndFlush(session, grantOnDatabase(list, form.addDatabase, grant.account));
        step = Added::DatabaseGrant;
    }
    if (form.addTableDatabase != noDatabase()) {
        const QString list = requiredPrivilegeList(tablePrivileges(), form.table);
        sendAndFlush(session, grantOnTable(list, form.addTableDatabase, form.addTable, grant.account));
        step = Added::TableGrant;
    }
}

// Hosts differ by case in no server.
bool isListed(const AccountForm &form, const Account &account)
{
    for (const QString &item : form.accounts) {
        if (item.section(u'\t', 1) == account.user &&
            item.section(u'\t', 0, 0).compare(account.host, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

// The list may be older than what others have made or removed, and MariaDB takes an empty host for "%".
bool exists(Session &session, const AccountForm &form, const Account &account)
{
    try {
        RecordSet rows = session.connection().execute(showGrants(account));
        return rows.isOpen() && !rows.isEof();
    } catch (const Failure &error) {
        constexpr int noSuchGrant = 1141;
        if (doubtAfter(session, error) != Doubt::None)
            throw;
        return error.number() != noSuchGrant && isListed(form, account);
    }
}

// The password that was typed over the placeholder; empty: none was.
QString newPassword(const AccountForm &form)
{
    return form.password == form.passwordTag ? QString() : trimmedBlanks(form.password);
}

// MySQL 8's dynamic rights have a GRANT OPTION each; all others share that of the box.
bool isDynamic(const QString &right)
{
    return right.contains(u'_');
}

WantedRights wantedRights(const AccountForm &form, const Rights &before)
{
    const QStringList shown = shownRights(globalPrivileges());
    const bool isGrantable = form.global[globalGrantBox];
    // Who loses the box may not keep it on the rights that no box shows.
    const bool losesGrant = form.globalBefore[globalGrantBox] && !isGrantable;
    WantedRights wanted;
    for (const QString &right : before.names) {
        if (shown.contains(right) || right == u"USAGE")
            continue;
        wanted.kept.names << right;
        if (isDynamic(right) ? before.grantable.contains(right) && !losesGrant : isGrantable)
            wanted.kept.grantable << right;
    }
    const QStringList checked = checkedRights(globalPrivileges(), form.global);
    wanted.all = {wanted.kept.names + checked, wanted.kept.grantable};
    if (isGrantable)
        wanted.all.grantable << checked;
    if (isGrantable && wanted.all.names.isEmpty())
        wanted.all.names = wanted.all.grantable = QStringList{QStringLiteral("USAGE")};
    return wanted;
}

// How far a change came.
enum class Changed { Nothing, GrantOptionRevoked, AllRevoked, Granted };

// REVOKE and GRANT of all global rights, as prescribed, where REVOKE ALL takes no more than these; else by
// name.
class GlobalChange {
public:
    GlobalChange(Session &session, const AccountForm &form)
        : m_session(session)
        , m_form(form)
        , m_isByName(revokesByName(session))
    {
    }

    void take(const AccountState &before)
    {
        if (m_isByName)
            return takeByName(before.rights);
        sendAndFlush(m_session, revokeGrantOption(everything, m_form.account));
        m_step = Changed::GrantOptionRevoked;
        sendAndFlush(m_session, revokeAll(everything, m_form.account));
        m_step = Changed::AllRevoked;
    }

    void grant(const AccountState &before)
    {
        Checks checks = m_form.global;
        // MySQL takes the exceptions (partial revokes) of every right that is granted globally once more.
        if (m_isByName && !exceptionsIn(before.otherGrants).isEmpty())
            uncheck(checks, before.rights.names);
        sendGlobalGrant(m_session, {m_form.account, privilegeList(globalPrivileges(), checks),
                                    grantSuffix(m_form.global), newPassword(m_form), false});
    }

    // As the rights were when the account was selected. In doubt, all may be revoked or granted.
    void putBack(bool isInDoubt)
    {
        if (m_isByName || (m_step == Changed::Nothing && !isInDoubt))
            return;
        if (m_step == Changed::AllRevoked || isInDoubt)
            sendAndFlush(m_session, revokeAll(everything, m_form.account));
        const QString list = privilegeList(globalPrivileges(), m_form.globalBefore);
        sendAndFlush(m_session, grantGlobally(list, m_form.account, {}, grantSuffix(m_form.globalBefore)));
    }

private:
    void takeByName(const Rights &before)
    {
        const QStringList checked = checkedRights(globalPrivileges(), m_form.global);
        QStringList names;
        for (const QString &right : shownRights(globalPrivileges())) {
            if (before.names.contains(right) && !checked.contains(right))
                names << right;
        }
        if (m_form.globalBefore[globalGrantBox] && !m_form.global[globalGrantBox])
            names << QStringLiteral("GRANT OPTION");
        takeRights(m_session, m_form.account, {}, names);
    }

    static void uncheck(Checks &checks, const QStringList &held)
    {
        for (std::size_t i = 0; i < checks.size(); ++i) {
            const QStringList right = checkedRights(globalPrivileges().subspan(i, 1), {true});
            if (!right.isEmpty() && held.contains(right.first()))
                checks[i] = false;
        }
    }

    Session &m_session;
    const AccountForm &m_form;
    const bool m_isByName;
    Changed m_step = Changed::Nothing;
};

} // namespace

AccountOutcome addAccount(AccountContext &context)
{
    const AccountForm &form = context.form;
    Dialogue &dialogue = context.dialogue;
    const Account account{trimmedBlanks(form.host), trimmedBlanks(form.user)};
    const QString password = trimmedBlanks(form.password);
    if (account.user.isEmpty()) {
        dialogue.refuse(QStringLiteral("ﾕｰｻﾞｰ名を入力して下さい。"));
        return {};
    }
    if (password.isEmpty()) {
        dialogue.refuse(QStringLiteral("ﾊﾟｽﾜｰﾄﾞを入力して下さい。"));
        return {};
    }
    if (!dialogue.confirm(QStringLiteral("ﾕｰｻﾞｰを追加します。"), Icon::Information))
        return {};
    Added step = Added::Nothing;
    try {
        const bool isNew = !exists(context.session, form, account);
        // The server would change it without a word.
        if (!isNew &&
            !dialogue.warn(QStringLiteral("ﾕｰｻﾞｰは既に存在します。ﾊﾟｽﾜｰﾄﾞが変更され、権限が追加されます。")))
            return {};
        const BusyPointer busy(dialogue);
        add(context.session, form,
            {account, privilegeList(globalPrivileges(), form.global), grantSuffix(form.global), password,
             isNew},
            step);
    } catch (const Failure &error) {
        dialogue.refuse(error.description());
        if (step == Added::Account)
            dialogue.inform(QStringLiteral("ﾕｰｻﾞｰ作成までは成功しています。"));
        else if (step == Added::DatabaseGrant)
            dialogue.inform(QStringLiteral("DB権限作成までは成功しています。"));
        return {Refresh::Lists};
    }
    dialogue.inform(QStringLiteral("追加しました。"));
    return {Refresh::Lists};
}

AccountOutcome changeAccount(AccountContext &context)
{
    const AccountForm &form = context.form;
    if (!context.dialogue.confirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information))
        return {};
    GlobalChange global(context.session, form);
    RightsChange change;
    change.granted = checkedRights(globalPrivileges(), form.global);
    change.wanted = [&](const Rights &before) { return wantedRights(form, before); };
    change.take = [&](const AccountState &before) { global.take(before); };
    change.grant = [&](const AccountState &before) { global.grant(before); };
    change.putBack = [&](bool isInDoubt) { global.putBack(isInDoubt); };
    change.isAllPutBack = true;
    change.isPasswordNew = !newPassword(form).isEmpty();
    if (!change.isPasswordNew && form.password != form.passwordTag)
        change.closing += QStringLiteral("ﾊﾟｽﾜｰﾄﾞは空欄なので、元のままです。");
    return {changeRights(context, change) ? Refresh::Lists : Refresh::Nothing};
}

std::span<const AccountCommand> accountCommands()
{
    static constexpr std::array<AccountCommand, 9> commands{{
        {"cmdOk", addAccount},
        {"cmdGrantEdit", changeAccount},
        {"cmdDelete", deleteAccount},
        {"cmdDbGrantAdd", addDatabaseGrant},
        {"cmdDbGrantEdit", changeDatabaseGrant},
        {"cmdDbGrantDel", deleteDatabaseGrant},
        {"cmdTableGrantAdd", addTableGrant},
        {"cmdTableGrantEdit", changeTableGrant},
        {"cmdTableGrantDel", deleteTableGrant},
    }};
    return commands;
}
