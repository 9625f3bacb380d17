#pragma once

#include "core/driver/pump.h"

#include <QElapsedTimer>
#include <QObject>

// Keeps the windows alive while a worker waits for the server: painting, moving and resizing go on, and so
// does writing into text boxes and spelling items of lists. What else the user types or clicks is thrown
// away, except on what stops the running command or asks no server (see stopping.h). Escape and the close box
// of a window get through: each window knows how it is left.
class WindowPump : public QObject, public Pump {
    Q_OBJECT

public:
    explicit WindowPump(QObject *parent = nullptr);
    ~WindowPump() override;

    void wait(Completion &completion) override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int m_depth = 0;
    const Completion *m_waiting = nullptr; // of the innermost wait
    bool m_isFlushing = false;
};

// Lets all window events run now and then: called after each row of a long read. Every 10 ms, or less often
// where the windows need long for it, so that the read keeps most of the time.
class Yield {
public:
    Yield() { m_clock.start(); }
    // The next call will run events: the moment to bring counters up to date.
    bool isDue() const { return m_clock.elapsed() >= m_interval; }
    void operator()();

private:
    static constexpr qint64 shortest = 10, longestRound = 25; // milliseconds; a round includes the events

    QElapsedTimer m_clock;
    qint64 m_interval = shortest;
};
