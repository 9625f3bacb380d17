#pragma once

#include "core/pump.h"

#include <QElapsedTimer>
#include <QKeySequence>
#include <QObject>

#include <functional>
#include <vector>

class QWidget;

// Keeps the windows alive while a worker waits for the server: painting, moving and resizing go on, what
// the user types or clicks is thrown away, except for a button whose property "stopsRunningCommand" is true
// and for its key.
class WindowPump : public QObject, public Pump {
    Q_OBJECT

public:
    explicit WindowPump(QObject *parent = nullptr);
    ~WindowPump() override;

    void wait(Completion &completion) override;
    bool isWaiting() const { return m_depth > 0; }

Q_SIGNALS:
    // The user asked to close a top-level window while the server thinks; the close itself is refused and
    // is the receiver's to repeat once the running command has ended.
    void closeRequested(QWidget *window);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool refusesClose(QObject *watched, QEvent *event);

    int m_depth = 0;
    const Completion *m_waiting = nullptr; // of the innermost wait
    bool m_isFlushing = false;
};

// Marks a button as one that stops the running command (see WindowPump), or takes the mark away. The key
// clicks it from anywhere in its window.
void setStopsRunningCommand(QWidget *button, bool isOn, const QKeySequence &key = {});

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
