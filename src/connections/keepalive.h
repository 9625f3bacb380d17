#pragma once

#include <QObject>
#include <QTimer>

struct Session;

// Sends the session's connection a sign of life now and then, while nothing else runs: servers and the
// machines between drop what is silent for long.
class KeepAlive : public QObject {
    Q_OBJECT

public:
    // The session outlives it.
    KeepAlive(Session &session, QObject *parent);

    void start(int seconds); // 0: never
    void stop() { m_timer.stop(); }

Q_SIGNALS:
    // That it failed, or waits for long; empty: the answer has come after all.
    void told(const QString &words);

private:
    void send();

    Session &m_session;
    QTimer m_timer;
};
