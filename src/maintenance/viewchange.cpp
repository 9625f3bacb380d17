#include "maintenance/viewchange.h"

#include "core/lostanswer.h"
#include "core/statements.h"

namespace {

// Whether the view is gone, as the server has it after a new connection was made.
bool isGone(Session &session, const ViewChange &change)
{
    reconnect(session);
    return !exists(session.connection(), QStringLiteral("show create table ") + change.view() + u';');
}

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
        const bool mustMake = answerLost && change.stage != ViewStage::Nothing
                                  ? isGone(session, change)
                                  : change.stage == ViewStage::Creating;
        if (mustMake)
            makeOldView(session, change);
        return {};
    } catch (const SqlError &error) {
        return {error.description() +
                    QStringLiteral("\nVIEW %1 を確認して下さい。元に戻せていない可能性があります。")
                        .arg(change.view()),
                QStringLiteral("元の定義:\n") +
                    (change.serverText.isEmpty() ? change.savedText : change.serverText)};
    }
}
