#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

// Set once by a worker, waited for by the thread that owns the windows.
class Completion {
public:
    // Any thread. Wakes a sleeping waiter and the event loop of the application's thread.
    void finish();
    bool isFinished() const;
    // True when finished within the time.
    bool waitFor(std::chrono::milliseconds time);

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::atomic<bool> m_isFinished = false;
};

// How the thread of the windows spends the time while a worker is busy with the server.
class Pump {
public:
    virtual ~Pump() = default;
    // Returns once `completion` is finished. May run window events meanwhile.
    virtual void wait(Completion &completion) = 0;
};

// Simply sleeps: for tests, tools and programs without windows.
class BlockingPump : public Pump {
public:
    void wait(Completion &completion) override;
};
