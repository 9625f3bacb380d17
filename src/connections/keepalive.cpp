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
    constexpr std::chrono::seconds patience{5};
    bool isLate = false;
    QTimer clock;
    clock.setSingleShot(true);
    // Clicks are refused meanwhile. Whether the connection is cut is the user's to say: a transaction may
    // hang on it.
    connect(&clock, &QTimer::timeout, this, [&] {
        isLate = true;
        Q_EMIT told(QStringLiteral("接続を保つ信号にサーバーが答えていません。待つのをやめるには Esc "
                                   "を押してください。"));
    });
    clock.start(patience);
    QString words;
    m_session.runner.run(this, QStringLiteral("接続の維持"), [&] {
        try {
            m_session.gCn->execute(QStringLiteral("select 1"));
        } catch (const Failure &failure) {
            words = failure.description();
        }
    });
    if (!words.isEmpty() || isLate)
        Q_EMIT told(words);
}
