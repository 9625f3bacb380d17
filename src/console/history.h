#pragma once

#include "core/session/session.h"

#include <QStringList>

// Where the history is kept.
QString historyFile(const Session &session);
// And what is being written.
QString consoleDrafts(const Session &session);

// The statements that were run or written in vain, oldest first, kept in a file of their own over restarts.
// None that holds a password is ever taken in. A file that cannot be read or written costs the history,
// nothing else.
class History {
public:
    explicit History(QString path);

    // False when it was not taken in: it holds a password, or is too long.
    bool add(const QString &statement);
    // One step back; `draft` is what stands in the box and comes back after the newest step forward.
    // A null text: there is none further.
    QString older(const QString &draft);
    QString newer();
    const QStringList &statements() const { return m_statements; }

private:
    QStringList read() const; // from the file
    void save() const;

    QString m_path;
    QStringList m_statements;
    QString m_draft;
    qsizetype m_place = 0; // of the statement last shown; size(): the draft
};
