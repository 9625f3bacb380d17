#pragma once

#include "core/command/command.h"
#include "core/command/undolog.h"
#include "maintenance/tablechange/tablechangesteps.h"

#include <optional>

// One table on its way from one definition to another.
class TableRebuild {
public:
    TableRebuild(CommandContext &context, TableChange change)
        : m_context(context)
        , m_session(context.session)
        , m_change(std::move(change))
        , m_log(m_session, QStringLiteral("ﾃｰﾌﾞﾙ %1 の変更").arg(m_change.oldTable()))
    {
    }

    // No value: run() may follow. Else the command ends with it; nothing has been changed.
    std::optional<Outcome> prepare();
    // False where the user has stopped it after all; all is as before then.
    bool run();
    UndoReport close() { return m_log.close(); }
    UndoReport undo(const Failure &error);

private:
    Connection &connection() { return m_session.connection(); }
    void openLog();
    void readTable();
    // The server takes no table without a key: the copy has none, and an old table without one must come
    // back.
    bool isKeyDemanded() const;
    void setForCopy(Step &step) const;
    bool mayLoseTriggers();
    bool freeze();
    bool keepOthersOff(std::vector<Step> steps);
    bool isWrittenElsewhere() const { return m_log.place().cluster.hasManyWriters; }
    void setForCluster();
    void takeCounter();
    QString checksum(const QString &table);
    void fill();
    void verify();

    CommandContext &m_context;
    Session &m_session;
    TableChange m_change;
    UndoLog m_log;
    QList<qint64> m_orphans;
};
