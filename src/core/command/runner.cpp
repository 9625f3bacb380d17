#include "core/command/runner.h"

#include "core/sql/batch.h"
#include "core/sql/localsource.h"
#include "core/sql/trackedsession.h"

#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace {

// What is put back is not given up by one stop, nor by an impatient second; but a server that never answers
// must not keep the user in the program.
constexpr qint64 undoingPatience = 20'000; // milliseconds

bool contains(const QObject &outer, const QObject *inner)
{
    while (inner && inner != &outer)
        inner = inner->parent();
    return inner;
}

} // namespace

class Runner::StoppableConnection : public Connection,
                                    public BatchSender,
                                    public LocalSender,
                                    public TrackedSession {
public:
    StoppableConnection(Runner &runner, std::unique_ptr<Connection> connection)
        : m_runner(runner)
        , m_connection(std::move(connection))
    {
        m_runner.m_connections.push_back(this);
    }
    ~StoppableConnection() override { std::erase(m_runner.m_connections, this); }

    void open() override
    {
        m_runner.requireGoingOn();
        m_connection->open();
    }
    void close() override { m_connection->close(); }
    bool isOpen() const override { return m_connection->isOpen(); }
    QString connectionString() const override { return m_connection->connectionString(); }
    ServerInfo server() const override { return m_connection->server(); }
    Encryption encryption() const override { return m_connection->encryption(); }
    RecordSet execute(const QString &statement) override
    {
        m_runner.requireGoingOn();
        Runner &runner = m_runner; // this may be destroyed by an event while the statement waits
        RecordSet rows = m_connection->execute(statement);
        runner.takeNote(rows.note());
        return rows;
    }
    RecordSet executeText(const QByteArray &statement) override
    {
        m_runner.requireGoingOn();
        Runner &runner = m_runner;
        RecordSet rows = m_connection->executeText(statement);
        runner.takeNote(rows.note());
        return rows;
    }
    bool nextResult(RecordSet &result) override
    {
        m_runner.requireGoingOn();
        return m_connection->nextResult(result);
    }
    Effect effect() const override { return m_connection->effect(); }
    BatchOutcome executeAll(const std::vector<QByteArray> &statements) override;
    RecordSet executeLocal(const QString &statement, const LocalSource &source) override
    {
        m_runner.requireGoingOn();
        return ::executeLocal(*m_connection, statement, source);
    }
    std::shared_ptr<SessionState> sessionState() const override { return sessionStateOf(*m_connection); }
    bool isBusy() const override { return m_connection->isBusy(); }
    void cancel() override { m_connection->cancel(); }

private:
    Runner &m_runner;
    const std::unique_ptr<Connection> m_connection;
};

BatchOutcome Runner::StoppableConnection::executeAll(const std::vector<QByteArray> &statements)
{
    m_runner.requireGoingOn();
    Runner &runner = m_runner; // this may be destroyed by an event while a statement waits
    return ::executeAll(*m_connection, statements, [&runner] { runner.requireGoingOn(); });
}

ConnectionFactory Runner::stoppable(ConnectionFactory factory)
{
    return [this, factory = std::move(factory)](const QString &connectionString) {
        return std::make_unique<StoppableConnection>(*this, factory(connectionString));
    };
}

bool Runner::run(const QObject *owner, const QString &what, const Action &action)
{
    if (isRunning() || !m_leavings.empty())
        return false;
    m_isRunning = true;
    m_isUsed = false;
    m_owner = owner;
    m_what = what;
    m_notes.clear();
    m_isStopWanted = false;
    const auto isOver = qScopeGuard([this] { end(); });
    Q_EMIT started();
    action();
    return true;
}

bool Runner::isRunning(const QObject *owner) const
{
    return m_isRunning && contains(*owner, m_owner);
}

void Runner::takeNote(const QString &note)
{
    if (!note.isEmpty() && !m_notes.contains(note))
        m_notes += m_notes.isEmpty() ? note : u'\n' + note;
}

void Runner::end()
{
    m_isRunning = false;
    m_owner = nullptr;
    m_what.clear();
    m_isStopWanted = !m_leavings.empty();
    // From the event loop: the windows that ran this are still on the stack.
    if (!m_leavings.empty() || !m_choices.empty())
        QMetaObject::invokeMethod(this, &Runner::serve, Qt::QueuedConnection);
    else
        Q_EMIT idle();
}

void Runner::serve()
{
    if (isRunning())
        return; // its end comes back here
    while (!m_leavings.empty()) {
        const Request request = std::move(m_leavings.front());
        m_leavings.erase(m_leavings.begin());
        m_isStopWanted = false;
        if (request.owner)
            request.action();
    }
    std::erase_if(m_choices, [](const Request &each) { return !each.owner; });
    if (m_choices.empty()) {
        Q_EMIT idle();
        return;
    }
    const Request request = std::move(m_choices.front());
    m_choices.erase(m_choices.begin());
    run(request.owner, request.what, request.action);
}

void Runner::choose(QObject *owner, const QString &what, Action action)
{
    std::erase_if(m_choices, [owner](const Request &each) { return each.owner == owner; });
    if (!run(owner, what, action) && m_leavings.empty())
        m_choices.push_back({owner, what, std::move(action)});
}

void Runner::leave(QObject *owner, Action action)
{
    std::erase_if(m_choices, [owner](const Request &each) { return contains(*owner, each.owner); });
    m_leavings.push_back({owner, {}, std::move(action)});
    if (isRunning())
        stop();
    else
        serve();
}

void Runner::stop()
{
    if (!std::exchange(m_isStopWanted, true))
        m_sinceStop.start();
    if (m_undoings == 0 || m_sinceStop.hasExpired(undoingPatience))
        for (Connection *connection : m_connections)
            connection->cancel();
    Q_EMIT stopWanted();
}

void Runner::requireGoingOn() const
{
    if (m_isStopWanted && m_undoings == 0)
        throw interruptedError(QStringLiteral("処理を中断しました。"));
}
