#include "users/accountcommands.h"

#include "core/lostanswer.h"
#include "core/statements.h"
#include "users/accountchanges.h"
#include "users/accountremains.h"
#include "users/grantreports.h"
#include "users/hiddenprivileges.h"

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
    sendGlobalGrant(session, grant, PasswordStatement::CreateUser);
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

// How far a change came.
enum class Changed { Nothing, GrantOptionRevoked, AllRevoked, Granted };

// The password that was typed over the placeholder; empty: none was.
QString newPassword(const AccountForm &form)
{
    return form.password == form.passwordTag ? QString() : trimmedBlanks(form.password);
}

// Who loses the GRANT box may not keep it on the rights that no box shows.
HiddenPrivileges keptRights(const AccountForm &form, const HiddenPrivileges &hidden)
{
    const bool losesGrant = form.globalBefore[globalGrantBox] && !form.global[globalGrantBox];
    return losesGrant ? hidden.withoutGrantOption() : hidden;
}

void change(Session &session, const AccountForm &form, const HiddenPrivileges &hidden, Changed &step)
{
    sendAndFlush(session, revokeGrantOption(everything, form.account));
    step = Changed::GrantOptionRevoked;
    sendAndFlush(session, revokeAll(everything, form.account));
    step = Changed::AllRevoked;
    const GlobalGrant grant{form.account, privilegeList(globalPrivileges(), form.global),
                            grantSuffix(form.global), newPassword(form)};
    sendGlobalGrant(session, grant, PasswordStatement::AlterUser);
    step = Changed::Granted;
    grantBack(session, form.account, keptRights(form, hidden));
}

// How far a change came at the most when the answer to its last statement was lost.
Changed oneFurther(Changed step)
{
    switch (step) {
    case Changed::Nothing:
        return Changed::GrantOptionRevoked;
    case Changed::GrantOptionRevoked:
    case Changed::AllRevoked: // put back as it was, also where the new rights were granted
        return Changed::AllRevoked;
    case Changed::Granted:
        break;
    }
    return Changed::Granted;
}

// Puts the global privileges back as they were when the account was selected.
void restore(Session &session, const AccountForm &form, const HiddenPrivileges &hidden, Changed step)
{
    if (step == Changed::Nothing || step == Changed::Granted)
        return;
    if (step == Changed::AllRevoked)
        sendAndFlush(session, revokeAll(everything, form.account));
    const QString list = privilegeList(globalPrivileges(), form.globalBefore);
    sendAndFlush(session, grantGlobally(list, form.account, {}, grantSuffix(form.globalBefore)));
    grantBack(session, form.account, hidden);
}

struct Failure {
    Changed step;
    bool isAnswerLost;
};

void recover(Session &session, Dialogue &dialogue, const AccountForm &form, const HiddenPrivileges &hidden,
             const Failure &failure)
{
    const Undoing undoing(session);
    try {
        if (failure.isAnswerLost) {
            reconnect(session);
            restore(session, form, hidden, oneFurther(failure.step));
            if (failure.step == Changed::Granted)
                grantBack(session, form.account, keptRights(form, hidden));
        } else {
            restore(session, form, hidden, failure.step);
        }
    } catch (const SqlError &second) {
        dialogue.refuse(second.description());
    }
    const bool isGranted = failure.step == Changed::Granted;
    tellLostRights(dialogue, form.account, isGranted ? keptRights(form, hidden).withoutShown() : hidden,
                   [&] { return readHiddenGlobal(session, form.account); });
}

void removeAccount(Session &session, const AccountForm &form)
{
    for (const QString &item : form.tables) {
        const QStringList pieces = item.split(u'\t');
        sendAndFlush(session, deleteTableRow(form.account, pieces.value(0), pieces.value(1)));
    }
    for (const QString &database : form.databases)
        sendAndFlush(session, deleteDatabaseRow(form.account, database));
    sendAndFlush(session, revokeAll(everything, form.account));
    sendAndFlush(session, deleteAccountRow(form.account));
    removeRemains(session, form.account);
}

} // namespace

Refresh addAccount(Session &session, Dialogue &dialogue, const AccountForm &form)
{
    const Account account{trimmedBlanks(form.host), trimmedBlanks(form.user)};
    const QString password = trimmedBlanks(form.password);
    if (account.user.isEmpty()) {
        dialogue.refuse(QStringLiteral("ﾕｰｻﾞｰ名を入力して下さい。"));
        return Refresh::Nothing;
    }
    if (password.isEmpty()) {
        dialogue.refuse(QStringLiteral("ﾊﾟｽﾜｰﾄﾞを入力して下さい。"));
        return Refresh::Nothing;
    }
    if (!dialogue.confirm(QStringLiteral("ﾕｰｻﾞｰを追加します。"), Icon::Information))
        return Refresh::Nothing;
    // The server would change it without a word.
    if (form.accounts.contains(account.host + u'\t' + account.user) &&
        !dialogue.confirm(QStringLiteral("ﾕｰｻﾞｰは既に存在します。ﾊﾟｽﾜｰﾄﾞが変更され、権限が追加されます。"),
                          Icon::Critical))
        return Refresh::Nothing;

    Added step = Added::Nothing;
    try {
        const BusyPointer busy(dialogue);
        add(session, form,
            {account, privilegeList(globalPrivileges(), form.global), grantSuffix(form.global), password},
            step);
    } catch (const SqlError &error) {
        dialogue.refuse(error.description());
        if (step == Added::Account)
            dialogue.inform(QStringLiteral("ﾕｰｻﾞｰ作成までは成功しています。"));
        else if (step == Added::DatabaseGrant)
            dialogue.inform(QStringLiteral("DB権限作成までは成功しています。"));
        return Refresh::Lists;
    }
    dialogue.inform(QStringLiteral("追加しました。"));
    return Refresh::Lists;
}

Refresh changeAccount(Session &session, Dialogue &dialogue, const AccountForm &form)
{
    if (!dialogue.confirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information))
        return Refresh::Nothing;
    Changed step = Changed::Nothing;
    HiddenPrivileges hidden;
    try {
        const BusyPointer busy(dialogue);
        hidden = readHiddenGlobal(session, form.account);
        change(session, form, hidden, step);
    } catch (const SqlError &error) {
        dialogue.refuse(error.description());
        recover(session, dialogue, form, hidden, {step, doubtAfter(session, error) != Doubt::None});
        return Refresh::Nothing;
    }
    dialogue.inform(QStringLiteral("変更しました。"));
    return Refresh::Lists;
}

Refresh deleteAccount(Session &session, Dialogue &dialogue, const AccountForm &form)
{
    if (!dialogue.confirm(QStringLiteral("ﾕｰｻﾞｰを削除します。"), Icon::Critical))
        return Refresh::Nothing;
    const bool isDeleted =
        report(dialogue, QStringLiteral("削除しました。"), [&] { removeAccount(session, form); });
    return isDeleted ? Refresh::Lists : Refresh::Nothing;
}
