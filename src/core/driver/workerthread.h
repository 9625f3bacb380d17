#pragma once

#include "core/driver/pump.h"
#include "core/driver/workerdriver.h"
#include "core/sql/batch.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

// What a job brought back; valid once the job is done.
struct Answer {
    std::optional<Failure> error;
    Driver::Opened opened;
    std::vector<Field> fields; // none when the statement gave no rows
    QString note;              // to the user, of such a statement
    RowBlock block;
    Effect effect;          // of a result that has come to its end
    bool hasResult = true;  // false: the statement has no further one
    BatchOutcome batch;     // of a batch of statements; the failure is `error`
    bool hasMore = false;   // the worker holds a result with further rows
    bool isStopped = false; // a stop came while the job was under way, which succeeded all the same
};

// Results that have rows left, by number. They belong to the worker's thread.
using Results = std::map<int, std::unique_ptr<DriverResult>>;
using Work = std::function<void(Driver &driver, Results &results, Answer &answer)>;

struct Job {
    Work work;
    RowBlock spare; // a used block whose memory the answer may take over
    Answer answer;
    Completion done;
    bool isStopped = false; // guarded by the worker's mutex
};

// Asks again and again for a moment before a thread goes to sleep: on an idle machine, putting it to sleep
// and waking it costs more than most statements take. Where others want the processor, giving way costs a
// whole turn of theirs: then the thread sleeps at once, for a while. For one thread.
class ShortWait {
public:
    template <typename IsReached>
    bool until(IsReached isReached)
    {
        using namespace std::chrono_literals;
        auto now = std::chrono::steady_clock::now();
        if (now < m_isCrowdedUntil)
            return isReached();
        const auto end = now + 250us;
        while (!isReached()) {
            if (now > end)
                return false;
            std::this_thread::yield();
            const auto before = std::exchange(now, std::chrono::steady_clock::now());
            if (now - before > 500us) {
                m_isCrowdedUntil = now + 30ms;
                return isReached();
            }
        }
        return true;
    }

private:
    std::chrono::steady_clock::time_point m_isCrowdedUntil{};
};

// One thread that owns one driver and does jobs in order. The thread keeps itself alive: where a client
// library cannot be woken from a dead server, the thread is left behind with its handles and nobody waits for
// it.
class WorkerThread : public std::enable_shared_from_this<WorkerThread> {
public:
    static std::shared_ptr<WorkerThread> start(std::unique_ptr<Driver> driver);

    std::shared_ptr<Job> post(Work work, RowBlock spare = RowBlock());
    // Ends what the job waits for; returns at once. The job is done soon, whatever the server does: when its
    // statement does not end in time the connection is cut, and when that does not help it is given up.
    void stop(const std::shared_ptr<Job> &job);
    // Gives the job up when it takes longer: a server may say nothing for ever.
    void limit(const std::shared_ptr<Job> &job, std::chrono::seconds time);
    bool isStopped(const Job &job) const;
    // Ends the thread and the connection; waits for it only a moment. Waiting jobs fail.
    void leave();

private:
    explicit WorkerThread(std::unique_ptr<Driver> driver)
        : m_driver(std::move(driver))
    {
    }

    void run();
    void perform(Job &job, Results &results);
    std::shared_ptr<Job> nextJob();
    void settle(bool isBeforeWork);
    void finish(Job &job, Answer answer);
    void failAll(const Failure &error); // with m_mutex held
    void interrupt();
    void superviseStop(const std::shared_ptr<Job> &job);
    void breakOff(const std::shared_ptr<Job> &job, const Failure &why);

    const std::unique_ptr<Driver> m_driver;
    Completion m_ended;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::shared_ptr<Job>> m_jobs;
    std::atomic<bool> m_hasNews = false; // there are jobs; a hint that may be read without the mutex
    std::shared_ptr<Job> m_current;
    ShortWait m_shortWait;   // of the worker's thread
    int m_interruptions = 0; // under way in other threads
    bool m_mustSettle = false;
    bool m_isReached = false;                               // a server has listened to the last interruption
    Interruption m_interruption = Interruption::NotReached; // how that one ended
    bool m_isWorking = false; // on a job, for whose end an interruption looks out
    std::optional<Failure> m_whyCut;
    bool m_isLeaving = false; // no more jobs: left by its owner, or given up
};
