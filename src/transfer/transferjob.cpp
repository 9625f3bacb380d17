#include "transfer/transferjob.h"

#include "core/session/basconnection.h"

#include <QElapsedTimer>

#include <utility>

namespace {

// Waits on a thread without an event loop, and passes a stop on to the connection that is waited for.
class StoppablePump : public Pump {
public:
    explicit StoppablePump(const std::atomic<bool> &isStopWanted)
        : m_isStopWanted(isStopWanted)
    {
    }

    void stops(Runner *runner) { m_runner = runner; }
    void wait(Completion &completion) override
    {
        constexpr std::chrono::milliseconds interval{50};
        while (!completion.waitFor(interval))
            if (m_isStopWanted && m_runner && !m_runner->isStopWanted())
                m_runner->stop();
    }

private:
    const std::atomic<bool> &m_isStopWanted;
    Runner *m_runner = nullptr;
};

} // namespace

TransferJob::~TransferJob()
{
    stop();
    if (m_thread.joinable())
        m_thread.join();
}

ReportProgress TransferJob::reporter()
{
    QElapsedTimer sinceLast;
    return [this, sinceLast, object = QString()](const TransferStatus &status) mutable {
        if (m_isStopWanted)
            throw interruptedError(QStringLiteral("処理を中断しました。"));
        constexpr int shownEvery = 100; // milliseconds
        if (sinceLast.isValid() && !sinceLast.hasExpired(shownEvery) && status.object == object)
            return;
        sinceLast.start();
        object = status.object;
        QMetaObject::invokeMethod(
            this, [this, status] { Q_EMIT progressed(status); }, Qt::QueuedConnection);
    };
}

void TransferJob::start(const Session &session, const QString &database, Work work)
{
    auto pump = std::make_shared<StoppablePump>(m_isStopWanted);
    std::shared_ptr<Session> own = siblingOf(session, database, *pump);
    run([this, own = std::move(own), pump, work = std::move(work)]() mutable {
        pump->stops(&own->runner);
        QString text;
        own->runner.run(&own->runner, {}, [&] {
            if (const std::optional<Failure> failure = tryConnecting(*own))
                throw Failure(*failure);
            text = work(*own, reporter());
        });
        // On this thread: closing the connection may wait for its worker.
        pump->stops(nullptr);
        own.reset();
        return text;
    });
}

void TransferJob::start(const std::function<QString(const ReportProgress &)> &work)
{
    run([this, work] { return work(reporter()); });
}

void TransferJob::run(std::function<QString()> work)
{
    Q_ASSERT(!m_isRunning);
    if (m_thread.joinable())
        m_thread.join();
    m_isRunning = true;
    m_isStopWanted = false;
    m_thread = std::thread([this, work = std::move(work)]() mutable {
        QString text;
        bool hasFailed = false;
        try {
            text = work();
        } catch (const Failure &error) {
            text = error.description();
            hasFailed = true;
        } catch (const std::bad_alloc &) {
            text = QStringLiteral("メモリが足りません。");
            hasFailed = true;
        }
        work = nullptr; // its session ends on the thread that used it
        QMetaObject::invokeMethod(
            this,
            [this, text, hasFailed] {
                m_isRunning = false;
                Q_EMIT finished(text, hasFailed);
            },
            Qt::QueuedConnection);
    });
}
