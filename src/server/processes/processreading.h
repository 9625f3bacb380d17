#pragma once

#include "core/session/session.h"

#include <QStringList>

#include <optional>
#include <vector>

// A session of the server, as its list of processes words it. What the server does not tell stays empty.
struct Process {
    QString id, user, host, database, command, seconds, state;
    QString statement; // its beginning, passwords masked
    bool isWhole = true;
    QString rowsSent, rowsExamined;
    QString execution;    // names this one run of the statement
    qint64 startedAt = 0; // by the server's clock, in seconds; when the statement or the sleep began
    enum class Owner { Other, SameAccount, ThisWindow } owner = Owner::Other;

    bool isRunning() const { return command != u"Sleep" && command != u"Daemon"; }
};

// All sessions at one moment, and what proves later that a question goes to the same server.
struct ProcessList {
    QString serverMark;   // of the server and the connection that the list was read over
    QString connectionId; // of that connection
    std::vector<Process> processes;
    QString missing; // what the account may not see, for the user; empty: nothing
};

// Reads the sessions of one connection, in the richest form that server and account allow; it remembers
// which. All functions throw Failure.
class ProcessReader {
public:
    ProcessList read(Session &session);
    // Those of the sessions that there still are; nothing is said of whose they are.
    std::vector<Process> readSome(Session &session, const QStringList &ids);
    // The one session; none when it is gone.
    enum class Statement { Beginning, Whole };
    std::optional<Process> readOne(Session &session, const QString &id, Statement wanted);

private:
    void learn(Connection &connection);
    RecordSet ask(Connection &connection, const QStringList &ids, int mostOfStatement);

    QString m_serverMark, m_connectionId, m_missing;
    QStringList m_forms; // statements to try, the richest first
};

enum class Kill { Statement, Session };

// What became of one session that was to be stopped.
struct KillOutcome {
    enum class End { Done, Gone, Other, Refused };
    QString id;
    End end = End::Done;
    QString words; // of the server, where it refused
};

// Stops the statements, or ends the sessions, that the list showed: whatever else bears their numbers now is
// left alone. Throws Failure when the connection is not the one of the list any more, or is lost meanwhile.
std::vector<KillOutcome> killProcesses(Session &session, ProcessReader &reader, const ProcessList &list,
                                       const QStringList &ids, Kill kill);
// The statement that stops; by the number of its execution where the server knows such numbers.
QString killStatement(const ServerInfo &server, const Process &process, Kill kill);
// Empty: this server cannot explain what runs.
QString explainStatement(const ServerInfo &server, const QString &id);
