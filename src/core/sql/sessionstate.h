#pragma once

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
    // For the user: "トランザクション", "ロック" ...; empty: nothing is lost with the connection.
    QStringList held() const;
    // The database of the last USE as it stands there; empty: none was sent.
    const QString &database() const { return m_database; }

private:
    bool m_hasTransaction = false, m_isWithoutAutocommit = false, m_hasLocks = false;
    bool m_hasTemporaryTables = false, m_hasUserVariables = false, m_hasSettings = false;
    bool m_hasPrepared = false, m_hasRoutineTraces = false;
    bool m_mustEnd = false;
    QString m_database;
};

// Whether the statement only reads, and gives the same on a new connection: then it can be sent once more
// without any harm. In doubt it does not.
bool canBeRepeated(const QString &statement);
