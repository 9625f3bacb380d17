// The main window's connection that is to last: kept alive, and made anew when it was lost.
#include "browser/frmTarnwell.h"
#include "connections/connectionadvice.h"
#include "connections/keepalive.h"
#include "core/command/doubt.h"
#include "core/session/basconnection.h"
#include "core/sql/trackedsession.h"

#include <utility>

void frmTarnwell::keepAlive()
{
    if (!m_keepAlive && m_session.profile.keepAlive > 0) {
        m_keepAlive = new KeepAlive(m_session, this);
        connect(m_keepAlive, &KeepAlive::told, this,
                [this](const QString &words) { m_dialogue.setLastError(words, false); });
    }
    if (m_keepAlive)
        m_keepAlive->start(m_session.profile.keepAlive);
}

// What the server kept for the lost connection is gone, which its failure has said. Lists and database stay.
void frmTarnwell::comeBack()
{
    if (!m_panel.isConnected())
        return;
    if (std::exchange(m_hasTriedToComeBack, true))
        throw interruptedError(); // said already why it cannot
    // There is none where the console was stopped, or failed, while it replaced the connection.
    const QString use = m_session.gCn ? lastUse(*m_session.gCn) : QString();
    try {
        const BusyPointer busy(m_dialogue);
        reconnect(m_session);
    } catch (const Failure &failure) {
        if (failure.isInterrupted())
            throw;
        // The state of a connection that does not exist: for those who ask what kind of failure it is.
        throw Failure(QStringLiteral("サーバーとの接続が切れていて、つなぎ直せません。\n") +
                          withAdvice(failure, effectiveTls(m_session)),
                      failure.number(), QStringLiteral("08003"));
    }
    m_hasTriedToComeBack = false;
    m_hasComeBack = true;
    m_controls.encryption->showOf(m_session.gCn.get());
    m_panel.showRole();
    m_dialogue.setLastError(
        QStringLiteral("接続が切れたので、つなぎ直しました。") + wordsOfOtherDatabase(m_session, use), false);
}

// For those who only said that the connection was lost.
void frmTarnwell::comeBackWhenIdle()
{
    // A change whose undoing ended with the server has told where things are; now it can be undone.
    const bool isOpen = m_session.gCn && m_session.gCn->isOpen();
    if (isOpen && m_hasComeBack) {
        m_session.runner.run(this, QStringLiteral("終わっていない変更"), [this] {
            m_hasComeBack = false;
            settlePending();
        });
        return;
    }
    if (m_hasTriedToComeBack || !m_session.gCn || m_session.gCn->isOpen())
        return;
    const QString before = m_controls.txtError->toPlainText();
    const bool hasRun = m_session.runner.run(this, QStringLiteral("再接続"), [&] {
        try {
            comeBack();
        } catch (const Failure &failure) {
            m_dialogue.setLastError(failure.description(), false);
        }
    });
    if (hasRun && !before.isEmpty())
        m_dialogue.setLastError(before + u'\n' + m_controls.txtError->toPlainText(), false);
}
