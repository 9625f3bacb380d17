#include "maintenance/recovery.h"

void recover(Session &session, Doubt doubt, const std::function<void()> &fromDone,
             const std::function<void()> &fromFound)
{
    const Undoing undoing(session);
    if (doubt == Doubt::None) {
        try {
            fromDone();
            return;
        } catch (const SqlError &error) {
            doubt = doubtAfter(session, error);
            if (doubt == Doubt::None)
                throw;
        }
    }
    if (doubt == Doubt::AnswerLost)
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
