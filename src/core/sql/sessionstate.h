#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

// What the server keeps for one connection, as far as the statements tell that were sent on it: it is gone
// when the connection breaks.
class SessionState {
public:
    // After a statement that the server has carried out, with what it said then of a transaction.
    void note(const QString &statement, std::optional<bool> isInTransaction = {});
    // The connection keeps from writing from now on. A transaction that stands, as far as is known, goes on
    // writing whatever the session is told: it is to end first.
    void keepFromWriting(std::optional<bool> isInTransaction);
    bool mustEndTransaction() const { return m_mustEnd; }
    // What is sent in between is the program's own: see TrackedSession.
    void setNoting(bool isNoting) { m_isNoting = isNoting; }
    void holdOwn(const void *owner, bool holds);
    // For the user: "トランザクション", "ロック" ...; empty: nothing of the user's is lost with the
    // connection.
    QStringList held() const;
    // Whether anything is lost that a new connection would not have.
    bool isMissed() const { return !m_owners.isEmpty() || !held().isEmpty(); }
    // Whether the user has set variables.
    bool hasSettings() const { return m_hasSettings || m_isWithoutAutocommit; }
    // The database of the last USE as it stands there; empty: none was sent.
    const QString &database() const { return m_database; }

private:
    void noteSet(const QString &statement);

    bool m_isNoting = true;
    bool m_hasTransaction = false, m_isWithoutAutocommit = false, m_hasLocks = false;
    bool m_hasTemporaryTables = false, m_hasUserVariables = false, m_hasSettings = false;
    bool m_hasRoutineTraces = false, m_mustEnd = false;
    QSet<QString> m_prepared; // statements and handlers, by their names
    QSet<const void *> m_owners;
    QString m_database;
};

// What held() says of autocommit=0, after the transaction.
QString lostAutocommit();

// Whether the statement only reads, and gives the same on a new connection: then it can be sent once more
// without any harm. In doubt it does not.
bool canBeRepeated(const QString &statement);
