// The main window's saved connections.
#include "browser/frmTarnwell.h"
#include "connections/connectionstore.h"
#include "connections/connectionswindow.h"
#include "connections/passwordquestion.h"
#include "core/session/basconnection.h"
#include "core/sql/listitem.h"

#include <QMenu>

#include <algorithm>

namespace {

QString menuText(const ConnectionProfile &profile)
{
    const QString environment = environmentText(profile.environment);
    QString text = visibleName(profile.name);
    if (!environment.isEmpty())
        text += QStringLiteral("（%1）").arg(environment);
    return text.replace(u'&', QStringLiteral("&&"));
}

} // namespace

void frmTarnwell::openConnections()
{
    if (m_session.runner.isRunning())
        return;
    ConnectionsWindow window(m_session, m_session.profile.id, this);
    window.exec();
    if (const auto &choice = window.choice())
        useConnection(choice->profile, choice->typedPassword, choice->connectsNow);
}

void frmTarnwell::offerLastConnections(QMenu &menu)
{
    for (QAction *old : menu.actions())
        if (old->property("isLastConnection").toBool())
            delete old;
    ConnectionStore store(connectionsFile(m_session));
    store.read();
    const auto add = [&menu](QAction *action) {
        action->setProperty("isLastConnection", true);
        menu.addAction(action);
        return action;
    };
    const std::vector<ConnectionProfile> last = store.lastUsed();
    if (!last.empty())
        add(new QAction(&menu))->setSeparator(true);
    for (const ConnectionProfile &profile : last)
        connect(add(new QAction(menuText(profile), &menu)), &QAction::triggered, this,
                [this, profile] { useConnection(profile, profile.password, true); });
}

void frmTarnwell::useConnection(const ConnectionProfile &profile, const QString &password, bool connectsNow)
{
    m_session.runner.leave(this, [=, this] {
        if (m_session.gCn)
            disconnectNow();
        useProfile(m_session, profile, password);
        m_panel.showProfile();
        if (connectsNow)
            m_controls.cmdConnect->click();
    });
}

// What was typed may lead to a saved connection, as after a start: its colour, its way and what it may do
// belong to the server, however the user came there. False: the user was asked for the password and gave up.
bool frmTarnwell::completeProfile()
{
    ConnectionProfile &profile = m_session.profile;
    if (!profile.isSaved()) {
        ConnectionStore store(connectionsFile(m_session));
        m_dialogue.setLastError(store.read(), false);
        std::vector<ConnectionProfile> candidates = store.lastUsed();
        candidates.resize(std::min<std::size_t>(candidates.size(), 1));
        // By way of another machine, the same name is another server.
        std::ranges::copy_if(store.profiles(), std::back_inserter(candidates),
                             [](const ConnectionProfile &each) { return !each.ssh.isUsed(); });
        const auto found = std::ranges::find_if(candidates, [this](const ConnectionProfile &each) {
            return each.leadsTo(m_session.gDsn, m_session.gDriver, m_session.gServer, m_session.gPort);
        });
        if (found != candidates.end()) {
            profile = *found;
            m_session.gDbName = profile.database;
        }
    }
    if (!profile.isSaved() || profile.kind == ConnectionKind::DataSource || !m_session.gPass.isEmpty())
        return true;
    if (profile.keeping == PasswordKeeping::File) {
        m_session.gPass = profile.password;
        return true;
    }
    const std::optional<QString> password = askForPassword(
        this, QStringLiteral("「%1」に接続するパスワード (%2)").arg(profile.name, m_session.gUser));
    m_session.gPass = password.value_or(QString());
    return password.has_value();
}

void frmTarnwell::noteConnectionUsed()
{
    if (!m_session.profile.isSaved())
        return;
    const QString words = ConnectionStore(connectionsFile(m_session)).use(m_session.profile.id);
    if (!words.isEmpty())
        m_dialogue.setLastError(words, false);
}
