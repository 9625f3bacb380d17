#include "maintenance/viewchange.h"

#include "core/statements.h"
#include "maintenance/recovery.h"

namespace {

void makeOldView(Session &session, const ViewChange &change)
{
    try {
        session.connection().execute(change.savedText);
    } catch (const SqlError &error) {
        // The text that was shown has lost its backticks, and its commas inside strings were broken.
        if (change.serverText.isEmpty() || isAnswerLost(session, error))
            throw;
        session.connection().execute(change.serverText);
    }
}

} // namespace

QString ViewChange::view() const
{
    return qualifiedName(database, name);
}

RecoveryReport recoverView(Session &session, const ViewChange &change, bool answerLost)
{
    try {
        if (answerLost || change.isDropped)
            remake(session, answerLost, QStringLiteral("show create table ") + change.view() + u';',
                   [&] { makeOldView(session, change); });
        return {};
    } catch (const SqlError &error) {
        return {error.description() +
                    QStringLiteral("\nVIEW %1 を確認して下さい。元に戻せていない可能性があります。")
                        .arg(change.view()),
                QStringLiteral("元の定義:\n") +
                    (change.serverText.isEmpty() ? change.savedText : change.serverText)};
    }
}
