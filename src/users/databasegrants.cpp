#include "users/databasegrants.h"

#include "users/accountchanges.h"
#include "users/grantreports.h"

#include <algorithm>

namespace {

bool isComplete(Dialogue &dialogue, const AccountForm &form)
{
    if (form.addDatabase == noDatabase()) {
        dialogue.inform(QStringLiteral("DBを選択して下さい。"));
        return false;
    }
    if (std::find(form.database.begin(), form.database.end(), true) == form.database.end()) {
        dialogue.inform(QStringLiteral("権限にﾁｪｯｸを入れてください。"));
        return false;
    }
    return true;
}

QString grantStatement(const AccountForm &form)
{
    return grantOnDatabase(privilegeList(databasePrivileges(), form.database), form.addDatabase,
                           form.account);
}

void change(Session &session, const AccountForm &form, bool &isTaken)
{
    // The database stands here without backquotes, unlike in the GRANT; deliberate.
    const QString where = databaseScope(form.shownDatabase);
    const QString grant = grantStatement(form); // refused before anything is taken
    sendAndFlush(session, revokeGrantOption(where, form.account));
    session.connection().execute(revokeAll(where, form.account));
    isTaken = true;
    session.connection().execute(flushPrivileges());
    sendAndFlush(session, grant);
}

} // namespace

Refresh addDatabaseGrant(Session &session, Dialogue &dialogue, const AccountForm &form)
{
    if (!isComplete(dialogue, form) ||
        !dialogue.confirm(QStringLiteral("DB権限を追加します。"), Icon::Information))
        return Refresh::Nothing;
    const bool isAdded = report(dialogue, QStringLiteral("追加しました。"),
                                [&] { sendAndFlush(session, grantStatement(form)); });
    return isAdded ? Refresh::Account : Refresh::Nothing;
}

Refresh changeDatabaseGrant(Session &session, Dialogue &dialogue, const AccountForm &form)
{
    if (!isComplete(dialogue, form) ||
        !dialogue.confirm(QStringLiteral("DB権限を変更します。"), Icon::Information))
        return Refresh::Nothing;
    const KeepingChange keeping{
        [&] { return readHiddenOnDatabase(session, form.account, form.shownDatabase); },
        [&](bool &isTaken) { change(session, form, isTaken); }};
    return reportKeepingHidden(session, dialogue, form.account, keeping) ? Refresh::Account
                                                                         : Refresh::Nothing;
}

Refresh deleteDatabaseGrant(Session &session, Dialogue &dialogue, const AccountForm &form)
{
    if (!dialogue.confirm(QStringLiteral("DB権限を削除します。"), Icon::Critical))
        return Refresh::Nothing;
    const bool isDeleted = report(dialogue, QStringLiteral("削除しました。"), [&] {
        sendAndFlush(session, deleteDatabaseRow(form.account, form.shownDatabase));
    });
    return isDeleted ? Refresh::Account : Refresh::Nothing;
}
