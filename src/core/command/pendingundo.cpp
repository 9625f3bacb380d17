#include "core/command/pendingundo.h"

#include "core/session/wholefile.h"

#include <QDir>

namespace {

PendingChange described(const UndoLog &log)
{
    return {log.what(), log.begun(), log.untilUndone(), log.pendingStatements(), log.finishingStatement()};
}

void carryOut(UndoLog &log, PendingAnswer::Action action, Dialogue &dialogue)
{
    using Action = PendingAnswer::Action;
    if (action == Action::Forget)
        return log.forget();
    const UndoReport report = action == Action::Finish ? log.finishPending() : log.undoPending();
    if (action == Action::Finish && report.ending == UndoReport::Ending::Done)
        return dialogue.inform(report.message);
    if (report.message.isEmpty())
        dialogue.inform(QStringLiteral("%1 を元に戻しました。").arg(log.what()));
    tellReport(dialogue, {}, report, true);
}

} // namespace

std::vector<UndoFile> pendingUndoLogs(Session &session)
{
    std::vector<UndoFile> pending;
    if (session.settingsFolder.isEmpty())
        return pending;
    removeLeftLocks(session.settingsFolder, UndoFile::suffix());
    const QDir folder(session.settingsFolder);
    const QStringList names = folder.entryList({u'*' + UndoFile::suffix()}, QDir::Files, QDir::Name);
    if (names.isEmpty())
        return pending;
    const ServerPlace here = serverPlace(session.connection());
    for (const QString &name : names) {
        try {
            const UndoFile file{folder.filePath(name)};
            const UndoLog log(session, file);
            const bool isSameCluster =
                here.cluster.isMember() && log.place().cluster.name == here.cluster.name;
            if (log.place().server == here.server || isSameCluster)
                pending.push_back(file);
        } catch (const Failure &) {
            // Of a program that runs, or no such file at all.
        }
    }
    return pending;
}

void settlePendingUndoLogs(Session &session, Dialogue &dialogue)
{
    for (;;) {
        std::vector<UndoFile> files;
        std::vector<PendingChange> changes;
        for (const UndoFile &file : pendingUndoLogs(session)) {
            UndoLog log(session, file);
            if (log.isEmpty()) { // nothing but a lock, which ended with its session
                log.forget();
                continue;
            }
            files.push_back(file);
            changes.push_back(described(log));
        }
        if (changes.empty())
            return;
        const PendingAnswer answer = dialogue.askPending(changes);
        if (answer.action == PendingAnswer::Action::Later)
            return;
        UndoLog log(session, files.at(answer.change));
        carryOut(log, answer.action, dialogue);
    }
}
