#include "core/session/serverlink.h"

#include "core/session/basconnection.h"

#include <QThread>

#include <atomic>
#include <new>

// Lives in the connection's thread.
class ServerLink::Worker : public QObject, public Pump {
    Q_OBJECT

public:
    void use(std::unique_ptr<Session> session) { m_session = std::move(session); }
    std::optional<Failure> carryOut(const Work &work);
    bool isConnected() const { return m_session->gCn && m_session->gCn->isOpen(); }
    void wait(Completion &completion) override;

    std::atomic<bool> isStopWanted = false, isEnding = false; // set by the windows

Q_SIGNALS:
    void finished(const std::function<void()> &then);

private:
    std::unique_ptr<Session> m_session;
};

void ServerLink::Worker::wait(Completion &completion)
{
    while (!completion.waitFor(std::chrono::milliseconds(20)))
        if ((isStopWanted || isEnding) && !m_session->runner.isStopWanted())
            m_session->runner.stop();
}

std::optional<Failure> ServerLink::Worker::carryOut(const Work &work)
{
    if (isEnding)
        return interruptedError();
    isStopWanted = false;
    std::optional<Failure> failure;
    m_session->runner.run(this, QStringLiteral("サーバー"), [&] {
        try {
            if (!isConnected()) {
                if (const std::optional<Failure> refusal = tryConnecting(*m_session))
                    throw Failure(*refusal);
            }
            work(*m_session);
        } catch (const Failure &error) {
            failure = error;
        } catch (const std::bad_alloc &) {
            failure = outOfMemory();
        }
    });
    if (failure && failure->isConnectionLost())
        sDisconnect(*m_session);
    return failure;
}

ServerLink::ServerLink(const Session &session)
    : m_settings(siblingOf(session, {}))
    , m_thread(new QThread)
    , m_worker(new Worker)
{
    std::unique_ptr<Session> own = siblingOf(session, {}, *m_worker);
    own->runner.moveToThread(m_thread);
    m_worker->use(std::move(own));
    m_worker->moveToThread(m_thread);
    connect(m_worker, &Worker::finished, this, [](const std::function<void()> &then) { then(); });
    connect(m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    m_thread->start();
}

ServerLink::~ServerLink()
{
    constexpr int patience = 1000; // milliseconds; then the thread goes on alone to its end
    disconnect(m_worker, nullptr, this, nullptr);
    m_worker->isEnding = true;
    m_thread->quit();
    if (m_thread->wait(patience))
        delete m_thread;
    else
        connect(m_thread, &QThread::finished, m_thread, &QObject::deleteLater);
}

void ServerLink::stop()
{
    m_worker->isStopWanted = true;
}

void ServerLink::post(QObject &asker, Work work, std::function<void()> done, Refusal refuse)
{
    const auto carryOut = [this, worker = m_worker, asker = QPointer(&asker), work = std::move(work),
                           done = std::move(done), refuse = std::move(refuse)]() {
        const std::optional<Failure> failure = worker->carryOut(work);
        Q_EMIT worker->finished([this, asker, done, refuse, failure, isConnected = worker->isConnected()] {
            note(failure, isConnected);
            if (!asker)
                return;
            if (failure)
                refuse(*failure);
            else
                done();
        });
    };
    QMetaObject::invokeMethod(m_worker, carryOut, Qt::QueuedConnection);
}

void ServerLink::note(const std::optional<Failure> &failure, bool isConnected)
{
    constexpr int accessDenied = 1045;
    m_failedAttempts = isConnected ? 0 : m_failedAttempts + 1;
    m_isRefused = !isConnected && failure && failure->number() == accessDenied;
    const QString problem = isConnected || !failure ? QString() : failure->description();
    if (std::exchange(m_problem, problem) != problem)
        Q_EMIT stateChanged();
}

#include "serverlink.moc"
