#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <functional>

// How long the event loop kept a window waiting at the longest. Time for which the thread was ready to run
// and the machine gave it no processor does not count: that is not the program's doing. Of the rest, what the
// thread itself worked is told apart from what it waited for others, who may have had no processor either.
class StallWatch : public QObject {
public:
    StallWatch()
    {
        m_timer.callOnTimeout(this, [this] { tick(); });
        begin();
        m_timer.start(interval);
    }
    double longest() const { return m_longest; }
    // Called with each stall over the limit, in milliseconds, and the work in it.
    std::function<void(double stall, double work)> onStall;
    double limit = 100;

private:
    static constexpr int interval = 10;

    static double waitedMilliseconds()
    {
        QFile file("/proc/self/schedstat");
        return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toDouble() / 1e6 : 0;
    }
    static double workedMilliseconds()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }
    void begin()
    {
        m_worked = workedMilliseconds();
        m_waited = waitedMilliseconds();
        m_clock.start();
    }
    void tick()
    {
        const double stall =
            static_cast<double>(m_clock.nsecsElapsed()) / 1e6 - interval - (waitedMilliseconds() - m_waited);
        const double work = workedMilliseconds() - m_worked;
        m_longest = std::max(m_longest, stall);
        if (stall > limit && onStall)
            onStall(stall, work);
        begin();
    }

    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_worked = 0, m_waited = 0; // at the last tick
    double m_longest = 0;
};
