#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QTimer>

#include <algorithm>

// How long the event loop kept a window waiting at the longest. Time for which the thread was ready to run
// and the machine gave it no processor does not count: that is not the program's doing.
class StallWatch : public QObject {
public:
    StallWatch()
    {
        m_timer.callOnTimeout(this, [this] { tick(); });
        m_clock.start();
        m_waited = waitedMilliseconds();
        m_timer.start(interval);
    }
    double longest() const { return m_longest; }
    // Called with each stall over the limit, in milliseconds.
    std::function<void(double)> onStall;
    double limit = 100;

private:
    static constexpr int interval = 10;

    static double waitedMilliseconds()
    {
        QFile file("/proc/self/schedstat");
        return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toDouble() / 1e6 : 0;
    }
    void tick()
    {
        const double waited = waitedMilliseconds();
        const double stall =
            static_cast<double>(m_clock.nsecsElapsed()) / 1e6 - interval - (waited - m_waited);
        m_longest = std::max(m_longest, stall);
        if (stall > limit && onStall)
            onStall(stall);
        m_waited = waited;
        m_clock.start();
    }

    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_waited = 0;
    double m_longest = 0;
};
