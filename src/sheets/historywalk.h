#pragma once

#include <QStringList>

#include <functional>

// Steps through the statements that were run, from what is being written to the oldest and back.
class HistoryWalk {
public:
    // read: the statements, the newest first; asked anew by each walk.
    explicit HistoryWalk(std::function<QStringList()> read)
        : m_read(std::move(read))
    {
    }

    // Null: there is none.
    QString older(const QString &draft);
    QString newer();
    // The next step begins at what stands in the text then.
    void end() { m_place = -1; }

private:
    const std::function<QStringList()> m_read;
    QStringList m_statements;
    QString m_draft;
    qsizetype m_place = -1; // -1: at the draft
};
