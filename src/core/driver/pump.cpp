#include "core/driver/pump.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>

void Completion::finish()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isFinished = true;
        // Notified under the lock: the waiter may destroy this object as soon as it sees the flag.
        m_changed.notify_all();
    }
    if (const QCoreApplication *application = QCoreApplication::instance())
        if (QAbstractEventDispatcher *events = QAbstractEventDispatcher::instance(application->thread()))
            events->wakeUp();
}

bool Completion::isFinished() const
{
    if (!m_isFinished) // asked often by those who wait: they shall not stand in the way of finish()
        return false;
    const std::lock_guard lock(m_mutex); // finish() may still be at it
    return true;
}

bool Completion::waitFor(std::chrono::milliseconds time)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, time, [this] { return m_isFinished.load(); });
}

void BlockingPump::wait(Completion &completion)
{
    while (!completion.waitFor(std::chrono::hours(1))) {
    }
}
