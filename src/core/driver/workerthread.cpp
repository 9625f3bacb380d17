#include "core/driver/workerthread.h"

#include <new>
#include <utility>

namespace {

using namespace std::chrono_literals;

// How long a server may take to listen to a stop, before it counts as dead; and to end the statement: MariaDB
// may take two seconds when the stop meets its end.
constexpr auto patience = 1200ms;
constexpr auto killPatience = 3500ms;
// How long a call may take to notice that its connection was cut.
constexpr auto moment = 300ms;
// How long the owner waits for the connection to be closed; the windows stand still meanwhile.
constexpr auto closeTimeout = 80ms;

Failure lostError()
{
    return Failure(QStringLiteral("サーバーが応答しないため、接続を切りました。"), 2013,
                   QStringLiteral("08S01"));
}

// A server that rolls back may take as long as the statement did.
Failure disobeyedError()
{
    return Failure(
        QStringLiteral("サーバーが停止の要求を受け付けましたが、文が終わらないため、接続を切りました。"
                       "サーバーでは、処理やその取り消しが続いているかもしれません。"),
        2013, QStringLiteral("08S01"));
}

Failure sessionKilledError()
{
    return Failure(QStringLiteral("停止の要求の後も処理が続いたため、サーバーでセッションごと終わらせました。"
                                  "ユーザー変数・一時テーブル・ロックは失われ、確定していない変更は"
                                  "取り消されます。"),
                   2013, QStringLiteral("08S01"));
}

Failure notProvenError()
{
    return Failure(QStringLiteral("停止の要求が自分のセッションに届くことを確かめられないため、KILLを送らずに"
                                  "接続を切りました。サーバーでは、処理が続いているかもしれません。"),
                   2013, QStringLiteral("08S01"));
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
    settle(true);
    if (isStopped(job)) {
        answer.error = interruptedError();
    } else {
        try {
            job.work(*m_driver, results, answer);
        } catch (const Failure &error) {
            answer.error = error;
        } catch (const std::bad_alloc &) {
            answer.error = outOfMemory();
        }
    }
    settle(false);
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
void WorkerThread::settle(bool isBeforeWork)
{
    {
        std::unique_lock lock(m_mutex);
        m_isWorking = false;
        if (m_interruptions > 0)
            m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_interruptions == 0 || m_whyCut || m_isLeaving; });
        m_isWorking = isBeforeWork;
        if (!std::exchange(m_mustSettle, false) || m_whyCut || m_isLeaving)
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
    if (m_whyCut && answer.error && answer.error->isConnectionLost())
        answer.error = m_whyCut;
    job.answer = std::move(answer);
    job.done.finish();
    m_changed.notify_all();
}

bool WorkerThread::isStopped(const Job &job) const
{
    const std::lock_guard lock(m_mutex);
    return job.isStopped;
}

void WorkerThread::stop(const std::shared_ptr<Job> &job)
{
    {
        const std::lock_guard lock(m_mutex);
        if (job->isStopped || job->done.isFinished())
            return;
        job->isStopped = true;
        m_isReached = false;
        m_interruption = Interruption::NotReached;
        m_mustSettle = true;
        ++m_interruptions;
    }
    std::thread([worker = shared_from_this()] { worker->interrupt(); }).detach();
    std::thread([worker = shared_from_this(), job] { worker->superviseStop(job); }).detach();
}

void WorkerThread::limit(const std::shared_ptr<Job> &job, std::chrono::seconds time)
{
    const auto supervise = [worker = shared_from_this(), job, time] {
        std::unique_lock lock(worker->m_mutex);
        const bool isDone = worker->m_changed.wait_for(lock, time, [&job] { return job->done.isFinished(); });
        lock.unlock();
        if (!isDone)
            worker->breakOff(job, lostError());
    };
    std::thread(supervise).detach();
}

void WorkerThread::interrupt()
{
    Stop stop;
    stop.onReached = [this] {
        const std::lock_guard lock(m_mutex);
        m_isReached = true;
        m_changed.notify_all();
    };
    stop.endsWithin = [this](std::chrono::milliseconds time) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, time, [this] { return !m_isWorking || m_whyCut || m_isLeaving; });
    };
    const Interruption interruption = m_driver->interrupt(stop);
    const std::lock_guard lock(m_mutex);
    m_interruption = interruption;
    if (interruption == Interruption::Disobeyed && !m_whyCut)
        m_whyCut = sessionKilledError();
    --m_interruptions;
    m_changed.notify_all();
}

void WorkerThread::superviseStop(const std::shared_ptr<Job> &job)
{
    std::unique_lock lock(m_mutex);
    const auto isDone = [&job] { return job->done.isFinished(); };
    const auto hasFailed = [this] {
        return m_interruptions == 0 && m_interruption != Interruption::Confirmed &&
               m_interruption != Interruption::Disobeyed;
    };
    if (m_changed.wait_for(lock, patience, [&] { return m_isReached || isDone() || hasFailed(); }))
        m_changed.wait_for(lock, killPatience, [&] { return isDone() || hasFailed(); });
    const bool isProven = m_interruptions > 0 || m_interruption != Interruption::NotProven;
    const bool isListening = m_isReached && !hasFailed();
    lock.unlock();
    if (!isDone())
        breakOff(job, isListening ? disobeyedError() : isProven ? lostError() : notProvenError());
}

void WorkerThread::breakOff(const std::shared_ptr<Job> &job, const Failure &why)
{
    {
        const std::lock_guard lock(m_mutex);
        if (job->done.isFinished())
            return;
        m_whyCut = why;
        m_changed.notify_all();
    }
    if (m_driver->cut() && job->done.waitFor(moment))
        return;
    const std::lock_guard lock(m_mutex);
    m_isLeaving = true;
    failAll(why);
}

void WorkerThread::failAll(const Failure &error)
{
    if (m_current)
        m_jobs.push_front(std::move(m_current));
    for (const std::shared_ptr<Job> &job : std::exchange(m_jobs, {})) {
        job->answer.error = error;
        job->done.finish();
    }
    m_changed.notify_all();
}

void WorkerThread::leave()
{
    bool isAtWork = false;
    {
        const std::lock_guard lock(m_mutex);
        isAtWork = m_current != nullptr;
        m_isLeaving = true;
        failAll(Failure(QStringLiteral("接続は閉じられました。"), 0, QStringLiteral("08003")));
    }
    if (isAtWork)
        m_driver->cut();
    m_ended.waitFor(closeTimeout);
}
