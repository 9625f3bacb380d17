#include "core/workerthread.h"

#include <new>
#include <utility>

namespace {

using namespace std::chrono_literals;

// How long a server may take to listen to a stop, before it counts as dead; and to confirm it: MariaDB may
// take two seconds when the stop meets the end of the statement.
constexpr auto patience = 1200ms;
constexpr auto killPatience = 5s;
// How long a call may take to notice that its connection was cut.
constexpr auto moment = 300ms;
// How long the owner waits for the connection to be closed; the windows stand still meanwhile.
constexpr auto farewell = 80ms;
// A second stop this long after the first one breaks the connection off.
constexpr auto rollbackPatience = 3s;

SqlError lostError()
{
    return SqlError(QStringLiteral("サーバーが応答しないため、接続を切りました。"), 2013,
                    QStringLiteral("08S01"));
}

} // namespace

std::shared_ptr<WorkerThread> WorkerThread::start(std::unique_ptr<Driver> driver)
{
    std::shared_ptr<WorkerThread> worker(new WorkerThread(std::move(driver)));
    std::thread([worker] { worker->run(); }).detach();
    return worker;
}

std::shared_ptr<Job> WorkerThread::post(Work work, RowBlock spare)
{
    auto job = std::make_shared<Job>();
    job->work = std::move(work);
    job->spare = std::move(spare);
    const std::lock_guard lock(m_mutex);
    if (m_isLeaving) {
        job->answer.error = lostError();
        job->done.finish();
        return job;
    }
    m_jobs.push_back(job);
    m_hasNews = true;
    m_changed.notify_all();
    return job;
}

void WorkerThread::run()
{
    Results results;
    while (const std::shared_ptr<Job> job = nextJob())
        perform(*job, results);
    m_driver->giveUpRows();
    results.clear();
    m_driver->disconnect();
    m_ended.finish();
}

void WorkerThread::perform(Job &job, Results &results)
{
    Answer answer;
    answer.block = std::move(job.spare);
    answer.block.clear();
    settle();
    if (isStopped(job)) {
        answer.error = interruptedError();
    } else {
        try {
            job.work(*m_driver, results, answer);
        } catch (const SqlError &error) {
            answer.error = error;
        } catch (const std::bad_alloc &) {
            answer.error = SqlError(QStringLiteral("メモリが不足しています。"));
        }
    }
    settle();
    finish(job, std::move(answer));
}

std::shared_ptr<Job> WorkerThread::nextJob()
{
    m_shortWait.until([this] { return m_hasNews.load(std::memory_order_relaxed); });
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_jobs.empty() || m_isLeaving; });
    if (m_isLeaving)
        return nullptr;
    m_current = std::move(m_jobs.front());
    m_jobs.pop_front();
    m_hasNews = !m_jobs.empty();
    return m_current;
}

// An interruption that is still on its way would end the next statement instead of the one that it was for.
void WorkerThread::settle()
{
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_interruptions == 0 || m_isCut || m_isLeaving; });
        if (!std::exchange(m_mustSettle, false) || m_isCut || m_isLeaving)
            return;
    }
    m_driver->settle();
}

void WorkerThread::finish(Job &job, Answer answer)
{
    const std::lock_guard lock(m_mutex);
    m_current.reset();
    if (job.done.isFinished()) // given up meanwhile
        return;
    job.answer = std::move(answer);
    job.done.finish();
}

bool WorkerThread::isStopped(const Job &job) const
{
    const std::lock_guard lock(m_mutex);
    return job.isStopped;
}

void WorkerThread::stop(const std::shared_ptr<Job> &job)
{
    const auto now = std::chrono::steady_clock::now();
    {
        const std::lock_guard lock(m_mutex);
        if (job->done.isFinished())
            return;
        if (job->isStopped) {
            // The server has confirmed and rolls back, which can take as long as the statement did.
            if (now - job->stoppedAt > rollbackPatience)
                std::thread([worker = shared_from_this(), job] { worker->breakOff(job); }).detach();
            return;
        }
        job->isStopped = true;
        job->stoppedAt = now;
        m_isReached = false;
        m_isConfirmed = false;
        m_mustSettle = true;
        ++m_interruptions;
    }
    std::thread([worker = shared_from_this()] { worker->interrupt(); }).detach();
    std::thread([worker = shared_from_this(), job] { worker->superviseStop(job); }).detach();
}

void WorkerThread::interrupt()
{
    const bool isConfirmed = m_driver->interrupt([this] {
        const std::lock_guard lock(m_mutex);
        m_isReached = true;
        m_changed.notify_all();
    });
    const std::lock_guard lock(m_mutex);
    m_isConfirmed = isConfirmed;
    --m_interruptions;
    m_changed.notify_all();
}

void WorkerThread::superviseStop(const std::shared_ptr<Job> &job)
{
    {
        std::unique_lock lock(m_mutex);
        const auto isOver = [this, &job] { return m_interruptions == 0 || job->done.isFinished(); };
        if (m_changed.wait_for(lock, patience, [&] { return m_isReached || isOver(); }))
            m_changed.wait_for(lock, killPatience, isOver);
        if (job->done.isFinished() || (m_interruptions == 0 && m_isConfirmed))
            return;
    }
    breakOff(job);
}

void WorkerThread::breakOff(const std::shared_ptr<Job> &job)
{
    {
        const std::lock_guard lock(m_mutex);
        if (job->done.isFinished())
            return;
        m_isCut = true;
        m_changed.notify_all();
    }
    if (m_driver->cut() && job->done.waitFor(moment))
        return;
    const std::lock_guard lock(m_mutex);
    m_isLeaving = true;
    failAll(lostError());
    m_changed.notify_all();
}

void WorkerThread::failAll(const SqlError &error)
{
    if (m_current)
        m_jobs.push_front(std::move(m_current));
    for (const std::shared_ptr<Job> &job : std::exchange(m_jobs, {})) {
        job->answer.error = error;
        job->done.finish();
    }
}

void WorkerThread::leave()
{
    bool isAtWork = false;
    {
        const std::lock_guard lock(m_mutex);
        isAtWork = m_current != nullptr;
        m_isLeaving = true;
        failAll(SqlError(QStringLiteral("接続は閉じられました。"), 0, QStringLiteral("08003")));
        m_changed.notify_all();
    }
    if (isAtWork)
        m_driver->cut();
    m_ended.waitFor(farewell);
}
