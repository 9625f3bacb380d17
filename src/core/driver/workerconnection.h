#pragma once

#include "core/driver/pump.h"
#include "core/driver/workerthread.h"
#include "core/sql/batch.h"
#include "core/sql/localsource.h"

// A connection whose driver is used by a thread of its own, so that the windows live while the server thinks.
class WorkerConnection : public Connection, public BatchSender, public LocalSender {
public:
    // Makes the driver for each open(); throws Failure when the connection string is wrong.
    using DriverFactory = std::function<std::unique_ptr<Driver>()>;

    WorkerConnection(QString connectionString, DriverFactory makeDriver, Pump &pump);
    ~WorkerConnection() override;

    void open() override;
    void close() override;
    bool isOpen() const override { return m_channel && m_channel->isOpen; }
    QString connectionString() const override { return m_connectionString; }
    ServerInfo server() const override { return m_server; }
    Encryption encryption() const override { return m_encryption; }
    RecordSet execute(const QString &statement) override;
    RecordSet executeText(const QByteArray &statement) override;
    bool nextResult(RecordSet &result) override;
    BatchOutcome executeAll(const std::vector<QByteArray> &statements) override;
    RecordSet executeLocal(const QString &statement, const LocalSource &source) override;
    Effect effect() const override { return m_channel ? m_channel->effect : Effect(); }
    bool isBusy() const override { return m_channel && m_channel->waiting; }
    void cancel() override;

private:
    // What the connection and its record sets share; all of it belongs to the caller's thread. Calls that
    // wait hold on to it, because the connection may be closed or destroyed by an event meanwhile.
    struct Channel {
        Channel(std::shared_ptr<WorkerThread> thread, Pump &spendsWaits)
            : worker(std::move(thread))
            , pump(spendsWaits)
        {
        }
        // Throws when a call waits already.
        void requireIdle() const;
        // Throws what went wrong; a stopped job always throws.
        Answer wait(const std::shared_ptr<Job> &job);
        // The same with what went wrong in the answer.
        Answer finished(const std::shared_ptr<Job> &job);

        const std::shared_ptr<WorkerThread> worker;
        Pump &pump;
        std::shared_ptr<Job> waiting;
        std::weak_ptr<Job> ahead; // the last one that fetches what nobody waits for yet
        ShortWait shortWait;
        bool isOpen = false;
        bool isLeft = false; // by the connection
        int lastResult = 0;
        Effect effect;
        std::shared_ptr<std::atomic<bool>> isBatchStopped = std::make_shared<std::atomic<bool>>(false);
    };
    class Rows;
    // False: there is no result.
    using Ask = std::function<bool(Driver &, std::unique_ptr<DriverResult> &)>;
    std::optional<RecordSet> receive(Ask ask);

    const QString m_givenString;
    QString m_connectionString;
    const DriverFactory m_makeDriver;
    Pump &m_pump;
    ServerInfo m_server;
    Encryption m_encryption;
    std::shared_ptr<Channel> m_channel;
};
