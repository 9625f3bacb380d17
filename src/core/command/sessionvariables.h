#pragma once

#include "core/session/session.h"

#include <vector>

// A session variable and its value as it stands in a SET statement.
struct SessionVariable {
    QString name, value;
};

// Session variables that a command needs otherwise, among them those that the user's own SQL may have left.
class SessionVariables {
public:
    // The present values, which putBack() restores. Throws Failure, as all here.
    void read(Connection &connection, const QStringList &names);
    QString before(const QString &name) const;
    // Those that were read; what differs from the present value is sent.
    void set(Connection &connection, const std::vector<SessionVariable> &wanted);
    // The default database, for statements that name none. A session that had none keeps this one, since the
    // server cannot take it away.
    void use(Connection &connection, const QString &database);
    // After a new connection.
    void setAgain(Connection &connection);
    // None are kept afterwards.
    void putBack(Connection &connection);
    // "set session ..." with the values that stand now, for statements that need others for themselves.
    QString resetStatement(const std::vector<SessionVariable> &changed) const;

    struct Entry {
        QString name, before, now; // before: as the server words it; now: as in a SET statement
    };
    // For a file: see UndoLog.
    const std::vector<Entry> &entries() const { return m_entries; }
    void setEntries(std::vector<Entry> entries) { m_entries = std::move(entries); }
    const QString &database() const { return m_database; } // that use() was given; else empty

private:
    Entry &entry(const QString &name);
    void send(Connection &connection, const std::vector<SessionVariable> &variables);

    std::vector<Entry> m_entries;
    bool m_hasUserSet = false;            // and what was read may be the user's
    bool m_hasMoved = false;              // to a new connection
    QString m_databaseBefore, m_database; // empty: not set
};

QString setStatement(const std::vector<SessionVariable> &variables);
// A value as it stands in a SET statement: a number, else a text in quotes.
QString variableLiteral(const QString &value);
// A mode without some of its words and with others.
QString changedMode(const QString &mode, const QStringList &without, const QStringList &with);

// The mode in which rows go from one table to another as they are: impossible dates that a table has taken
// once are taken again.
QString modeForRows(const QString &mode);

// Runs the action with the variables and the default database (empty: as it is) set, and puts the old ones
// back on every way out. Those that have been read already are not asked for again.
template <class Action>
void withVariables(Session &session, const QString &database, const std::vector<SessionVariable> &wanted,
                   Action action, SessionVariables variables = {})
{
    QStringList names;
    for (const SessionVariable &variable : wanted)
        if (variables.before(variable.name).isNull())
            names << variable.name;
    variables.read(session.connection(), names);
    // The default database first: where it fails, nothing has been set.
    if (!database.isEmpty())
        variables.use(session.connection(), database);
    variables.set(session.connection(), wanted);
    const auto putBack = [&] {
        const Undoing undoing(session);
        variables.putBack(session.connection());
    };
    try {
        action();
    } catch (const Failure &) {
        try {
            putBack();
        } catch (const Failure &) {
            // The first refusal is the one to be told; mostly the session is gone with its variables.
        }
        throw;
    }
    putBack();
}
