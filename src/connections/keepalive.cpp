#include "connections/keepalive.h"

#include "core/session/session.h"

KeepAlive::KeepAlive(Session &session, QObject *parent)
    : QObject(parent)
    , m_session(session)
{
    connect(&m_timer, &QTimer::timeout, this, &KeepAlive::send);
}

void KeepAlive::start(int seconds)
{
    m_timer.stop();
    if (seconds > 0)
        m_timer.start(std::chrono::seconds(seconds));
}

void KeepAlive::send()
{
    // A connection that is lost waits for somebody who needs it.
    if (!m_session.gCn || !m_session.gCn->isOpen())
        return;
    QString words;
    m_session.runner.run(this, QStringLiteral("接続の維持"), [&] {
        try {
            m_session.gCn->execute(QStringLiteral("select 1"));
        } catch (const Failure &failure) {
            words = failure.description();
        }
    });
    if (!words.isEmpty())
        Q_EMIT failed(words);
}
