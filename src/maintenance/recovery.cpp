#include "maintenance/recovery.h"

#include "core/lostanswer.h"

void recover(Session &session, bool answerLost, const std::function<void()> &fromDone,
             const std::function<void()> &fromFound)
{
    if (!answerLost) {
        try {
            fromDone();
            return;
        } catch (const SqlError &error) {
            if (!isAnswerLost(session, error) && !error.isInterrupted())
                throw;
        }
    }
    reconnect(session);
    fromFound();
}

void tellReport(Dialogue &dialogue, const QString &error, const RecoveryReport &report, bool withTip)
{
    if (report.message.isEmpty())
        return;
    QStringList pieces{error, report.message, report.details};
    pieces.removeAll(QString());
    dialogue.setLastError(pieces.join(u'\n'), withTip);
    dialogue.refuse(report.message);
}
