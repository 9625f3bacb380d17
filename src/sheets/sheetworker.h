#pragma once

#include "core/command/script.h"
#include "core/session/session.h"

#include <QElapsedTimer>
#include <QMetaType>
#include <QObject>
#include <QSemaphore>

#include <atomic>
#include <functional>
#include <memory>

// What a sheet hears of its connection's thread. Values only, in the order in which they happened.
struct SheetNews {
    enum class Kind {
        Connected,   // text: why anew, empty the first time
        Began,       // statement
        Fields,      // a result with rows begins
        Rows,        // of the result that began last
        ResultEnded, // of rows or without
        Failed,      // of statement: text, errorLine
        Counted,     // texts: one about each table that was asked for
        Names,       // texts: table and column by turns
        ScriptMoved, // progress
        ScriptEnded, // report
        Finished     // nothing runs any more; texts holds the default database when it may have changed
    };
    Kind kind = Kind::Finished;
    int statement = 0; // of the run, from 0
    QString text;
    QStringList texts; // the warnings of a result
    std::vector<Field> fields;
    std::shared_ptr<RowBlock> rows;
    qint64 rowCount = 0;
    qint64 microseconds = 0;
    Effect effect;
    ScriptProgress progress;
    std::shared_ptr<ScriptReport> report;
    bool isStopped = false;
    bool isConnectionLost = false;
};
Q_DECLARE_METATYPE(SheetNews)

// One statement of a sheet; or the name of a script that is to be run in its place.
struct SheetStatement {
    QByteArray text;
    bool isSource = false;
};

struct SheetRun {
    std::vector<SheetStatement> statements;
    bool goesOnAtErrors = false;
    QString folder; // of scripts without one
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

    void run(const SheetRun &run);
    void runScriptFile(const ScriptOptions &options);
    // COMMIT, ROLLBACK.
    void send(const QString &statement);
    // Now, and of every connection that is made later.
    void setAutocommit(bool isOn);
    void countRows(const QStringList &tables);
    void readNames();

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
    void runStatement(const SheetStatement &statement, const SheetRun &run);
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
    QElapsedTimer m_since; // it was sent
    bool m_wasConnected = false;
    bool m_isAutocommit = true;
    bool m_mayHaveMoved = false; // to another default database
};
