#include "transfer/transferjob.h"

#include "core/session/basconnection.h"

#include <QElapsedTimer>
#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace {

// Waits on a thread without an event loop, and passes a stop on to the connections, each of which may be
// waited for.
class StoppablePump : public Pump {
public:
    explicit StoppablePump(const std::atomic<bool> &isStopWanted)
        : m_isStopWanted(isStopWanted)
    {
    }

    void stops(Runner &runner) { m_runners.push_back(&runner); }
    void stopsNothing() { m_runners.clear(); }
    void wait(Completion &completion) override
    {
        constexpr std::chrono::milliseconds interval{50};
        while (!completion.waitFor(interval))
            for (Runner *runner : m_runners)
                if (m_isStopWanted && !runner->isStopWanted())
                    runner->stop();
    }

private:
    const std::atomic<bool> &m_isStopWanted;
    std::vector<Runner *> m_runners;
};

} // namespace

// The sessions of one run. Made on the windows' thread, used and destroyed on the run's.
class TransferJob::OwnSessions {
public:
    explicit OwnSessions(const std::atomic<bool> &isStopWanted)
        : m_pump(isStopWanted)
    {
    }
    // Closing a connection may wait for its worker.
    ~OwnSessions() { m_pump.stopsNothing(); }

    void add(const Session &session, const QString &database);
    Session &at(std::size_t place) { return *m_sessions[place]; }
    void connectAndRun(const std::function<void()> &action, std::size_t from = 0);
    // Hands what has been sent since the last call over to the windows' log. The last statement may have
    // rows on their way: it waits for the end.
    void passLogOn(QObject &windows, bool isEnd);

private:
    StoppablePump m_pump;
    std::shared_ptr<StatementLog> m_log = std::make_shared<StatementLog>();
    std::shared_ptr<StatementLog> m_windowsLog;
    std::uint64_t m_passedOn = 0;
    std::vector<std::unique_ptr<Session>> m_sessions;
};

void TransferJob::OwnSessions::add(const Session &session, const QString &database)
{
    std::unique_ptr<Session> own = siblingOf(session, database, m_pump);
    own->makeConnection = own->runner.stoppable(logged(own->heedingFactory(&m_pump), m_log));
    m_pump.stops(own->runner);
    m_windowsLog = session.statementLog;
    m_sessions.push_back(std::move(own));
}

void TransferJob::OwnSessions::connectAndRun(const std::function<void()> &action, std::size_t from)
{
    if (from == m_sessions.size())
        return action();
    Session &session = at(from);
    session.runner.run(&session.runner, {}, [&] {
        if (const std::optional<Failure> failure = tryConnecting(session))
            throw Failure(*failure);
        connectAndRun(action, from + 1);
    });
}

void TransferJob::OwnSessions::passLogOn(QObject &windows, bool isEnd)
{
    const std::deque<LoggedStatement> &entries = m_log->entries();
    const std::uint64_t first = m_log->firstNumber(),
                        end = first + entries.size() - (isEnd || entries.empty() ? 0 : 1);
    std::vector<LoggedStatement> news;
    for (std::uint64_t number = std::max(first, m_passedOn); number < end; ++number)
        news.push_back(entries[number - first]);
    m_passedOn = end;
    if (!news.empty())
        QMetaObject::invokeMethod(
            &windows,
            [log = m_windowsLog, news = std::move(news)] {
                for (const LoggedStatement &entry : news)
                    log->add(entry);
            },
            Qt::QueuedConnection);
}

TransferJob::~TransferJob()
{
    stop();
    if (m_thread.joinable())
        m_thread.join();
}

ReportProgress TransferJob::reporter(OwnSessions *sessions)
{
    QElapsedTimer sinceLast;
    return [this, sessions, sinceLast, object = QString()](const TransferStatus &status) mutable {
        if (m_isStopWanted)
            throw interruptedError(QStringLiteral("処理を中断しました。"));
        constexpr int shownEvery = 100; // milliseconds
        if (sinceLast.isValid() && !sinceLast.hasExpired(shownEvery) && status.object == object)
            return;
        sinceLast.start();
        object = status.object; // it may be long at this one, and say nothing
        if (sessions)
            sessions->passLogOn(*this, false);
        QMetaObject::invokeMethod(
            this, [this, status] { Q_EMIT progressed(status); }, Qt::QueuedConnection);
    };
}

void TransferJob::start(const Session &session, const QString &database, const Work &work)
{
    auto sessions = std::make_unique<OwnSessions>(m_isStopWanted);
    sessions->add(session, database);
    start(std::move(sessions),
          [work](OwnSessions &own, const ReportProgress &report) { return work(own.at(0), report); });
}

void TransferJob::start(const Session &from, const Session &to, const WorkOfTwo &work)
{
    auto sessions = std::make_unique<OwnSessions>(m_isStopWanted);
    sessions->add(from, {});
    sessions->add(to, {});
    start(std::move(sessions), [work](OwnSessions &own, const ReportProgress &report) {
        return work(own.at(0), own.at(1), report);
    });
}

void TransferJob::start(std::unique_ptr<OwnSessions> sessions, WorkOfAny work)
{
    // Functions are copied, sessions are not.
    run([this, own = std::shared_ptr<OwnSessions>(std::move(sessions)), work = std::move(work)]() mutable {
        TransferReport report;
        const auto passRest = qScopeGuard([&] {
            own->passLogOn(*this, true);
            own.reset(); // on the thread that used them
        });
        own->connectAndRun([&] { report = work(*own, reporter(own.get())); });
        return report;
    });
}

void TransferJob::start(const std::function<TransferReport(const ReportProgress &)> &work)
{
    run([this, work] { return work(reporter(nullptr)); });
}

void TransferJob::run(std::function<TransferReport()> work)
{
    Q_ASSERT(!m_isRunning);
    if (m_thread.joinable())
        m_thread.join();
    m_isRunning = true;
    m_isStopWanted = false;
    m_thread = std::thread([this, work = std::move(work)]() mutable {
        TransferReport report;
        const auto fail = [&report](const QString &words, bool isToBeRead) {
            report = {words, isToBeRead};
            report.hasFailed = true;
        };
        try {
            report = work();
        } catch (const HalfDone &error) {
            fail(error.description(), true);
        } catch (const Failure &error) {
            fail(error.description(), false);
        } catch (const std::bad_alloc &) {
            fail(QStringLiteral("メモリが足りません。"), true);
        }
        work = nullptr; // its session ends on the thread that used it
        QMetaObject::invokeMethod(
            this,
            [this, report] {
                m_isRunning = false;
                Q_EMIT finished(report);
            },
            Qt::QueuedConnection);
    });
}
