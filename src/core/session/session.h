#pragma once

#include "core/command/runner.h"
#include "core/command/serverrole.h"
#include "core/driver/pump.h"
#include "core/session/connectionprofile.h"
#include "core/session/writebans.h"
#include "core/sql/statementlog.h"

#include <QString>

#include <memory>
#include <vector>

// One column of a table as "show full fields" lists it, each member as the reader of it stores it.
struct FieldRec {
    QString Field, Type, Null, Key, Default, Extra, Privileges;
};

// The name of one user variable of the console, without its "@".
struct variablename {
    QString strVariableName;
};

// The values that all windows share, from start to end of the program.
struct Session {
    QString programFolder; // folder of the executable, no separator at its end
    Runner runner;
    ConnectionFactory makeConnection;
    std::shared_ptr<StatementLog> statementLog = std::make_shared<StatementLog>();

    QString gDsn, gDriver, gServer, gUser, gPass, gPort;
    TlsOptions tls;            // of every connection, saved ones and data sources included
    ConnectionProfile profile; // the saved connection that the values above lead to; mostly none
    std::shared_ptr<WriteBans> writeBans = std::make_shared<WriteBans>(); // its siblings have the same
    QString gDbName; // database chosen in the main window; empty: none
    QString gNoTextNoGrid, gMemo1, gMemo2, gFont, gTextEditor, gTextPath, gDelimiter;
    QString gInOutPath;
    std::vector<variablename> gVariables;
    QString gIniPath, gVariableFile;
    QString settingsFolder; // of both and the history; empty before the settings are loaded
    // What the settings files held, so that saving changes nothing that another program wrote since.
    QStringList settingsAsRead, variablesAsRead;

    std::unique_ptr<Connection> gCn;
    ServerRole role; // of the server behind gCn, as it was when last asked
    RecordSet gRs;
    bool gIsLocalServer = false; // the driver names the server "localhost"
    bool gSqlOpen = false;       // the console is loaded

    // Element 0 of each stays empty, so that the number of columns is the upper bound.
    std::vector<FieldRec> gOldFields{1}, gNewFields{1};

    // Makes a connection that spends its waits in the pump.
    using PumpedFactory = std::function<std::unique_ptr<Connection>(const QString &, Pump &)>;

    // From now on connections are made by the factory, stopped by the runner and noted in the log. The pump
    // outlives them.
    void connectBy(PumpedFactory factory, Pump &pump);
    // The same; the factory's connections wait as they please.
    void connectBy(ConnectionFactory factory);
    // As connectBy() made them, but neither stopped nor logged by this session: for its siblings.
    std::function<ConnectionFactory(Pump *)> plainFactory;
    // The same, but the connections heed the bans on writing. For this session, and not beyond it.
    ConnectionFactory heedingFactory(Pump *pump = nullptr) const;

    // Makes a connection that was lost anew, or throws Failure with words for the user; may be missing.
    std::function<void()> comeBack;
    // The open connection. One that was lost before comes back where what runs asks for it first: later it
    // may count on what is gone. Throws Failure when there is none, and once a stop is wanted: ask for it at
    // each statement, so that none is sent after the stop but those that undo (see Undoing).
    Connection &connection() const;
    // Asked between two steps; throws the Failure of an interruption once a stop is wanted.
    void requireGoingOn() const { runner.requireGoingOn(); }
};

// A session for a further connection with the same settings: not connected yet, with a runner of its own. Its
// statements go into the same log. The first session's lists, record sets and options stay where they are.
std::unique_ptr<Session> siblingOf(const Session &session, const QString &database);
// The same for another thread, which alone uses it from now on and spends its waits in the pump. Nothing of
// it is logged: the log belongs to the windows.
std::unique_ptr<Session> siblingOf(const Session &session, const QString &database, Pump &pump);

// While it lives, statements are let through although a stop is wanted: what was begun is put back, or
// finished where that is the way back.
class Undoing {
public:
    explicit Undoing(Session &session)
        : m_runner(session.runner)
    {
        m_runner.beginUndoing();
    }
    ~Undoing() { m_runner.endUndoing(); }
    Undoing(const Undoing &) = delete;
    Undoing &operator=(const Undoing &) = delete;

private:
    Runner &m_runner;
};
