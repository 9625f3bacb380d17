#pragma once

#include "core/connection.h"

// The session's settings that a change needs otherwise, among them those that the user's own SQL may have
// left; the destructor puts the old ones back. Does not outlive the connection.
class SessionSettings {
public:
    explicit SessionSettings(Connection &connection);
    ~SessionSettings();
    SessionSettings(const SessionSettings &) = delete;
    SessionSettings &operator=(const SessionSettings &) = delete;

    void setMode(const QString &mode);
    // Keeps a 0 in an AUTO_INCREMENT column from becoming a new number.
    void keepZero();
    // sql_select_limit cuts what SHOW lists as well, columns and triggers too: those cut off would be lost.
    // True when there was a limit.
    bool liftLimit();

private:
    void setLimit(const QString &limit);

    Connection &m_connection;
    QString m_originalMode, m_mode;
    QString m_originalLimit, m_limit;
};

// Runs a statement that fills a table from its copy.
void copyRows(Connection &connection, const QString &statement, bool keepsZero);
