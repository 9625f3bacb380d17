#include "core/driver/workerconnection.h"

#include "core/session/connectionstring.h"

#include <algorithm>

namespace {

Failure closedError()
{
    return Failure(QStringLiteral("接続は閉じています。"), 0, QStringLiteral("08003"));
}

// For what is of no use to a user who has stopped it.
void requireNotStopped(const Answer &answer)
{
    if (answer.isStopped)
        throw interruptedError();
}

} // namespace

void WorkerConnection::Channel::requireIdle() const
{
    if (waiting)
        throw Failure(QStringLiteral("前の処理がまだ終わっていません。"));
}

Answer WorkerConnection::Channel::wait(const std::shared_ptr<Job> &job)
{
    Answer answer = finished(job);
    if (answer.error)
        throw Failure(*answer.error);
    return answer;
}

Answer WorkerConnection::Channel::finished(const std::shared_ptr<Job> &job)
{
    waiting = job;
    if (!shortWait.until([&job] { return job->done.isFinished(); }))
        pump.wait(job->done);
    waiting.reset();
    if (isLeft)
        throw closedError();
    const bool isStopped = worker->isStopped(*job);
    Answer answer = std::move(job->answer);
    if (answer.error && isStopped && !answer.error->isConnectionLost() && !answer.error->isInterrupted())
        answer.error = interruptedError(answer.error->description());
    answer.isStopped = isStopped;
    return answer;
}

// Keeps one block on the way while the caller reads another.
class WorkerConnection::Rows : public RowSource {
public:
    Rows(std::shared_ptr<Channel> channel, int number, Answer &&first)
        : m_stream(
              std::make_shared<Stream>(std::move(channel), number, std::move(first.block), first.hasMore))
        , m_fields(std::move(first.fields))
    {
    }
    ~Rows() override { m_stream->end(); }

    const std::vector<Field> &fields() const override { return m_fields; }
    bool isOpen() const override { return m_stream->channel->isOpen; }
    bool read(RowBlock &block) override
    {
        // Kept here: an event that runs while this waits may destroy the record set.
        const std::shared_ptr<Stream> stream = m_stream;
        return stream->read(block);
    }

private:
    struct Stream {
        Stream(std::shared_ptr<Channel> itsChannel, int itsNumber, RowBlock &&first, bool moreFollow)
            : channel(std::move(itsChannel))
            , number(itsNumber)
            , ready(std::move(first))
            , hasMore(moreFollow)
        {
        }
        bool read(RowBlock &block);
        void receive();
        void fetchAhead(RowBlock &&spare);
        void end();

        const std::shared_ptr<Channel> channel;
        const int number;
        RowBlock ready;
        bool hasMore;
        bool isStopped = false; // by the user; said once the rows that came before it have been read
        std::shared_ptr<Job> next;
    };

    const std::shared_ptr<Stream> m_stream;
    const std::vector<Field> m_fields;
};

bool WorkerConnection::Rows::Stream::read(RowBlock &block)
{
    if (ready.isEmpty() && hasMore)
        receive();
    std::swap(block, ready);
    ready.clear();
    if (hasMore && !isStopped && channel->isOpen)
        fetchAhead(std::exchange(ready, RowBlock()));
    return !block.isEmpty();
}

void WorkerConnection::Rows::Stream::receive()
{
    channel->requireIdle();
    if (isStopped) {
        end();
        throw interruptedError();
    }
    if (!next)
        fetchAhead(RowBlock());
    const std::shared_ptr<Job> job = std::exchange(next, nullptr);
    try {
        Answer answer = channel->wait(job);
        if (answer.block.isEmpty())
            requireNotStopped(answer);
        ready = std::move(answer.block);
        isStopped = answer.isStopped;
        hasMore = answer.hasMore || isStopped;
        channel->effect = answer.effect;
    } catch (const Failure &) {
        end();
        throw;
    }
}

void WorkerConnection::Rows::Stream::fetchAhead(RowBlock &&spare)
{
    const Work work = [number = number](Driver &driver, Results &results, Answer &answer) {
        auto result = results.extract(number);
        if (result.empty()) // ended meanwhile
            return;
        answer.hasMore = result.mapped()->fetch(answer.block);
        if (answer.hasMore)
            results.insert(std::move(result));
        else
            answer.effect = driver.effect();
    };
    next = channel->worker->post(work, std::move(spare));
    channel->ahead = next;
}

// Rows not yet read are thrown away, by the worker: the caller goes on at once.
void WorkerConnection::Rows::Stream::end()
{
    if (std::exchange(hasMore, false) && channel->isOpen)
        channel->worker->post(
            [number = number](Driver &, Results &results, Answer &) { results.erase(number); });
}

WorkerConnection::WorkerConnection(QString connectionString, DriverFactory makeDriver, Pump &pump)
    : m_givenString(std::move(connectionString))
    , m_connectionString(m_givenString)
    , m_makeDriver(std::move(makeDriver))
    , m_pump(pump)
{
}

WorkerConnection::~WorkerConnection()
{
    close();
}

void WorkerConnection::open()
{
    Q_ASSERT(!isOpen());
    if (m_channel)
        m_channel->requireIdle();
    const auto channel = std::make_shared<Channel>(WorkerThread::start(m_makeDriver()), m_pump);
    m_channel = channel;
    const auto job = channel->worker->post(
        [](Driver &driver, Results &, Answer &answer) { answer.opened = driver.connect(); });
    // The driver's own limit comes first, and its words say more.
    constexpr std::chrono::seconds grace{1};
    channel->worker->limit(job, connectLimit(ConnectionString(m_givenString)) + grace);
    try {
        const Answer answer = channel->wait(job);
        requireNotStopped(answer);
        channel->isOpen = true;
        m_server = answer.opened.server;
        m_encryption = answer.opened.encryption;
        m_connectionString = withServer(m_givenString, answer.opened.host);
    } catch (const Failure &) {
        channel->worker->leave();
        throw;
    }
}

void WorkerConnection::close()
{
    m_connectionString = m_givenString;
    if (!m_channel)
        return;
    // Closed by an event while a call waits: that call fails, and the server is told to stop what it does.
    if (m_channel->waiting)
        m_channel->worker->stop(m_channel->waiting);
    m_channel->isOpen = false;
    m_channel->isLeft = true;
    m_channel->worker->leave();
    m_channel.reset();
}

RecordSet WorkerConnection::execute(const QString &statement)
{
    return *receive([statement](Driver &driver, std::unique_ptr<DriverResult> &result) {
        result = driver.execute(statement);
        return true;
    });
}

RecordSet WorkerConnection::executeText(const QByteArray &statement)
{
    return *receive([statement](Driver &driver, std::unique_ptr<DriverResult> &result) {
        result = driver.executeText(statement);
        return true;
    });
}

RecordSet WorkerConnection::executeLocal(const QString &statement, const LocalSource &source)
{
    return *receive([statement, source](Driver &driver, std::unique_ptr<DriverResult> &result) {
        result = driver.executeLocal(statement, source);
        return true;
    });
}

bool WorkerConnection::nextResult(RecordSet &result)
{
    result.close();
    std::optional<RecordSet> next =
        receive([](Driver &driver, std::unique_ptr<DriverResult> &rows) { return driver.nextResult(rows); });
    if (next)
        result = std::move(*next);
    return next.has_value();
}

std::optional<RecordSet> WorkerConnection::receive(Ask ask)
{
    if (!isOpen())
        throw closedError();
    const std::shared_ptr<Channel> channel = m_channel;
    channel->requireIdle();
    const int number = ++channel->lastResult;
    // The first rows come along, so that a small statement costs one trip to the worker.
    const Work work = [ask = std::move(ask), number](Driver &driver, Results &results, Answer &answer) {
        std::unique_ptr<DriverResult> result;
        answer.hasResult = ask(driver, result);
        if (!result) {
            answer.note = driver.note();
            answer.effect = driver.effect();
            return;
        }
        answer.fields = result->fields();
        answer.hasMore = result->fetch(answer.block);
        if (answer.hasMore)
            results[number] = std::move(result);
        else
            answer.effect = driver.effect();
    };
    const auto job = channel->worker->post(work);
    try {
        Answer answer = channel->wait(job);
        channel->effect = answer.effect;
        if (!answer.hasResult)
            return {};
        // A statement without rows that came through in spite of its stop is done: its caller must not take
        // a DROP for one that did nothing.
        if (answer.fields.empty())
            return RecordSet(std::move(answer.note));
        // MariaDB ends a stopped SELECT SLEEP() as a success: its rows are no answer.
        requireNotStopped(answer);
        return RecordSet(std::make_unique<Rows>(channel, number, std::move(answer)));
    } catch (const Failure &) {
        // Stopped after all rows had been asked for: the worker may hold the rest.
        if (channel->isOpen)
            channel->worker->post([number](Driver &, Results &results, Answer &) { results.erase(number); });
        throw;
    }
}

BatchOutcome WorkerConnection::executeAll(const std::vector<QByteArray> &statements)
{
    if (!isOpen())
        throw closedError();
    const std::shared_ptr<Channel> channel = m_channel;
    channel->requireIdle();
    *channel->isBatchStopped = false;
    const Work work = [statements, isStopped = channel->isBatchStopped](Driver &driver, Results &,
                                                                        Answer &answer) {
        RowBlock block;
        for (const QByteArray &statement : statements) {
            if (*isStopped)
                throw interruptedError();
            std::unique_ptr<DriverResult> result = driver.executeText(statement);
            for (bool hasResult = true; hasResult;) {
                // To its end: a procedure must not be killed for its rows.
                for (bool hasMore = result != nullptr; hasMore; block.clear())
                    hasMore = result->fetch(block);
                const Effect effect = driver.effect();
                answer.batch.rowsTouched += std::max<qint64>(effect.rowsTouched, 0);
                answer.batch.warnings += std::max(effect.warnings, 0);
                result.reset();
                hasResult = effect.hasFurther && driver.nextResult(result);
            }
            ++answer.batch.done;
        }
    };
    Answer answer = channel->finished(channel->worker->post(work));
    answer.batch.failure = std::move(answer.error);
    return answer.batch;
}

void WorkerConnection::cancel()
{
    if (!m_channel)
        return;
    *m_channel->isBatchStopped = true;
    // Between two rows nobody waits, and the server is at the next ones already.
    const std::shared_ptr<Job> job = m_channel->waiting ? m_channel->waiting : m_channel->ahead.lock();
    if (job)
        m_channel->worker->stop(job);
}
