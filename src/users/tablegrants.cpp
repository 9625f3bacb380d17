#include "users/tablegrants.h"

#include "users/accountchanges.h"
#include "users/grantreports.h"

namespace {

bool isComplete(Dialogue &dialogue, const AccountForm &form)
{
    if (form.addTableDatabase == noDatabase())
        return false;
    if (form.addTable.isEmpty()) {
        dialogue.refuse(QStringLiteral("ﾃｰﾌﾞﾙが選択されていません。"));
        return false;
    }
    return true;
}

QString grantStatement(const AccountForm &form)
{
    return grantOnTable(privilegeList(tablePrivileges(), form.table), form.addTableDatabase, form.addTable,
                        form.account);
}

QString deleteStatement(const AccountForm &form)
{
    return deleteTableRow(form.account, form.shownTableDatabase, form.shownTable);
}

void change(Session &session, const AccountForm &form, bool &isTaken)
{
    const QString grant = grantStatement(form); // refused before anything is taken
    session.connection().execute(deleteStatement(form));
    isTaken = true;
    session.connection().execute(flushPrivileges());
    sendAndFlush(session, grant);
}

} // namespace

Refresh addTableGrant(Session &session, Dialogue &dialogue, const AccountForm &form)
{
    if (!isComplete(dialogue, form) ||
        !dialogue.confirm(QStringLiteral("TABLE権限を追加します。"), Icon::Information))
        return Refresh::Nothing;
    const bool isAdded = report(dialogue, QStringLiteral("追加しました。"),
                                [&] { sendAndFlush(session, grantStatement(form)); });
    return isAdded ? Refresh::Account : Refresh::Nothing;
}

Refresh changeTableGrant(Session &session, Dialogue &dialogue, const AccountForm &form)
{
    if (!isComplete(dialogue, form) ||
        !dialogue.confirm(QStringLiteral("TABLE権限を変更します。"), Icon::Information))
        return Refresh::Nothing;
    const KeepingChange keeping{
        [&] { return readHiddenOnTable(session, form.account, form.shownTableDatabase, form.shownTable); },
        [&](bool &isTaken) { change(session, form, isTaken); }};
    return reportKeepingHidden(session, dialogue, form.account, keeping) ? Refresh::Account
                                                                         : Refresh::Nothing;
}

Refresh deleteTableGrant(Session &session, Dialogue &dialogue, const AccountForm &form)
{
    if (!dialogue.confirm(QStringLiteral("TABLE権限を削除します。"), Icon::Critical))
        return Refresh::Nothing;
    const bool isDeleted = report(dialogue, QStringLiteral("削除しました。"),
                                  [&] { sendAndFlush(session, deleteStatement(form)); });
    return isDeleted ? Refresh::Account : Refresh::Nothing;
}
