#pragma once

#include "core/command/script.h"
#include "core/session/session.h"
#include "core/sql/splitter.h"

#include <QElapsedTimer>
#include <QMetaType>
#include <QObject>
#include <QSemaphore>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

// What a sheet hears of its connection's thread. Values only, in the order in which they happened.
struct SheetNews {
    enum class Kind {
        Connected,   // text: why anew, empty the first time
        Told,        // text: for the user
        Began,       // statement, place, sent
        Fields,      // a result with rows begins
        Rows,        // of the result that began last
        ResultEnded, // of rows or without
        Failed,      // of statement: text
        Looked,      // mayChange; texts: what is to be asked about before the run
        Names,       // texts: table and column by turns
        ScriptMoved, // progress
        ScriptEnded, // report
        Finished     // nothing runs any more; mode; texts: the default database when it may have changed
    };
    Kind kind = Kind::Finished;
    int statement = 0; // of the run, from 0
    int place = 0;     // of the statement that began, in the run's text
    QByteArray sent;   // that statement
    QString text;
    QStringList texts; // the warnings of a result
    std::vector<Field> fields;
    std::shared_ptr<RowBlock> rows;
    qint64 rowCount = 0;
    qint64 microseconds = 0;
    Effect effect;
    SqlMode mode;                     // as the server now reads statements
    std::optional<bool> isAutocommit; // as the server now commits
    ScriptProgress progress;
    std::shared_ptr<ScriptReport> report;
    bool mayChange = false; // something on the server
    bool isStopped = false;
    bool isConnectionLost = false;
};
Q_DECLARE_METATYPE(SheetNews)

struct SheetRun {
    QByteArray text;
    bool isScript = true; // else it is one statement, whatever it holds
    bool goesOnAtErrors = false;
    bool isSafe = false; // what takes many rows away is asked about
    QString folder;      // of scripts without one
};

// A sheet's connection, in a thread of its own: so one sheet runs while another is written, and the other
// windows go on as if nothing ran. Everything here is called in that thread, but for stop() and release().
class SheetWorker : public QObject {
    Q_OBJECT

public:
    // The session is a sibling of the windows' own; it waits in pump().
    SheetWorker();
    ~SheetWorker() override;
    Pump &pump() { return m_pump; }
    void use(std::unique_ptr<Session> session); // before the thread begins

    // What is to be asked before it is run, as the server reads it.
    void look(const SheetRun &run);
    void run(const SheetRun &run);
    void runScriptFile(const ScriptOptions &options);
    // COMMIT, ROLLBACK.
    void sendAlone(const QString &statement);
    // Now, and of every connection that is made later.
    void setAutocommit(bool isOn);
    void readNames();
    // Lets others use the connection that is open; what went wrong.
    std::optional<Failure> lend(const std::function<void(Connection &)> &work);
    void close();

    // From the windows' thread.
    void begin() { m_isStopWanted = false; } // before each of the above is posted
    void stop() { m_isStopWanted = true; }
    void release() { m_room.release(); } // rows that came have been taken in

Q_SIGNALS:
    void came(const SheetNews &news);

private:
    class ThreadPump : public Pump {
    public:
        explicit ThreadPump(SheetWorker &worker)
            : m_worker(worker)
        {
        }
        void wait(Completion &completion) override;

    private:
        SheetWorker &m_worker;
    };

    // What the action throws is told as the failure of the statement that was begun last.
    void runAlone(const std::function<void()> &action);
    void requireConnection();
    void disconnect();
    void chooseAgain();
    QString countedRows(const QString &table);
    void runPiece(const ScriptPiece &piece, const SheetRun &run);
    void send(const QByteArray &statement);
    void keepUtf8();
    void runSource(const QByteArray &name, const SheetRun &run);
    void tellResult(RecordSet &rows);
    void sendRows(RecordSet &rows, SheetNews &end);
    void handOver(std::shared_ptr<RowBlock> block);
    QStringList warnings(int count);
    void tell(SheetNews::Kind kind, const QString &text = {});
    void fail(const Failure &failure);
    void heedStop();

    ThreadPump m_pump{*this};
    std::unique_ptr<Session> m_session;
    Session *m_running = nullptr; // the one that a stop is for
    std::atomic<bool> m_isStopWanted = false;
    QSemaphore m_room{16}; // blocks that the windows have not taken yet
    int m_statement = 0;   // of the run
    SqlMode m_mode;
    QElapsedTimer m_since; // it was sent
    bool m_wasConnected = false;
    bool m_isAutocommit = true;
    QString m_use;               // of the connection that was lost, as it stood there
    bool m_mayHaveMoved = false; // to another default database
    bool m_isElsewhere = false;  // what runs has a connection of its own
};
