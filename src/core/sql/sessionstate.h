#pragma once

#include <QString>
#include <QStringList>

// What the server keeps for one connection, as far as the statements tell that were sent on it: it is gone
// when the connection breaks.
class SessionState {
public:
    // After a statement that the server has carried out.
    void note(const QString &statement);
    // For the user: "トランザクション", "ロック" ...; empty: nothing is lost with the connection.
    QStringList held() const;
    // The database of the last USE as it stands there; empty: none was sent.
    const QString &database() const { return m_database; }

private:
    bool m_hasTransaction = false, m_isWithoutAutocommit = false, m_hasLocks = false;
    bool m_hasTemporaryTables = false, m_hasUserVariables = false, m_hasSettings = false;
    bool m_hasPrepared = false, m_hasRoutineTraces = false;
    QString m_database;
};

// Whether the statement only reads, and gives the same on a new connection: then it can be sent once more
// without any harm. In doubt it does not.
bool canBeRepeated(const QString &statement);
