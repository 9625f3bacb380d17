#pragma once

#include "core/sql/connection.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

#include <functional>
#include <utility>
#include <vector>

// Everything that talks to a server runs here, one thing at a time, on the thread of the windows. While it
// waits or yields, events run: what a user asks for then is refused (run) or waits until nothing runs
// (choose).
//
// stop() ends what waits for a server, on every connection made through the runner. From then on these
// connections refuse each statement with the Failure of an interruption, before anything is sent, but for
// those inside of an undoing: so a stop can never be taken for an answer, and what was begun is still put
// back.
class Runner : public QObject {
    Q_OBJECT

public:
    using Action = std::function<void()>;

    // Carries the action out and returns true; what it throws passes through. False, and nothing is done,
    // while something runs or a window is about to be left. `what` names it for the user; the owner is the
    // window or the control that it is for.
    bool run(const QObject *owner, const QString &what, const Action &action);
    // The same, now or as soon as nothing runs: one choice of each owner, a list for example, may wait, and a
    // later one takes its place. What the action throws has nobody to go to: it shows its failures itself.
    void choose(QObject *owner, const QString &what, Action action);
    // Stops what runs and carries the action out once it has ended, at once when nothing runs. Nothing else
    // begins before; choices of the owner and of what it contains are dropped.
    void leave(QObject *owner, Action action);
    // Stops what runs. The one answer to it is the end of the running action. An undoing is only given up by
    // a stop that comes long after the first one.
    void stop();

    bool isRunning() const { return m_isRunning; }
    // Whether it is the owner's, or that of something it contains: a window asks for its controls.
    bool isRunning(const QObject *owner) const;
    QString what() const { return m_what; }
    // What the statements of the action that runs, or ran last, left for the user to know; mostly nothing.
    QString notes() const { return m_notes; }

    // True once for all that runs: whoever asks comes first, and nothing of it has been sent yet.
    bool isFirstUse() const { return isRunning() && !std::exchange(m_isUsed, true); }

    // From stop() until what ran has ended, and has been left where somebody wants to leave.
    bool isStopWanted() const { return m_isStopWanted; }
    // Throws the Failure of an interruption once a stop is wanted; not inside of an undoing.
    void requireGoingOn() const;
    void beginUndoing() { ++m_undoings; }
    void endUndoing() { --m_undoings; }

    // The factory's connections, stopped by stop(). They may outlive neither the runner nor, as ever, the
    // pump.
    ConnectionFactory stoppable(ConnectionFactory factory);

Q_SIGNALS:
    void started();
    void stopWanted();
    // Nothing runs any more, and nothing waits.
    void idle();

private:
    class StoppableConnection;
    struct Request {
        QPointer<QObject> owner;
        QString what;
        Action action;
    };

    void takeNote(const QString &note);
    void end();
    void serve();
    bool m_isRunning = false;
    mutable bool m_isUsed = false;
    QPointer<const QObject> m_owner; // of what runs
    QString m_what, m_notes;
    bool m_isStopWanted = false;
    QElapsedTimer m_sinceStop;
    int m_undoings = 0;
    std::vector<Request> m_choices, m_leavings; // that wait
    std::vector<Connection *> m_connections;    // that live
};
