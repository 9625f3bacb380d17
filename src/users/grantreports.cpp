#include "users/grantreports.h"

namespace {

bool runs(Dialogue &dialogue, const std::function<void()> &statements)
{
    try {
        const BusyPointer busy(dialogue);
        statements();
        return true;
    } catch (const SqlError &error) {
        dialogue.refuse(error.description());
        return false;
    }
}

} // namespace

bool report(Dialogue &dialogue, const QString &success, const std::function<void()> &statements)
{
    if (!runs(dialogue, statements))
        return false;
    dialogue.inform(success);
    return true;
}

bool reportKeepingHidden(Session &session, Dialogue &dialogue, const Account &account,
                         const KeepingChange &change)
{
    HiddenPrivileges hidden;
    bool isTaken = false;
    const bool isChanged = runs(dialogue, [&] {
        hidden = change.readHidden();
        change.statements(isTaken);
    });
    const bool isWhole = !isTaken || runs(dialogue, [&] { grantBack(session, account, hidden); });
    if (isChanged && isWhole) {
        dialogue.inform(QStringLiteral("変更しました。"));
        return true;
    }
    tellLostRights(dialogue, account, isChanged ? hidden.withoutShown() : hidden, change.readHidden);
    return false;
}
