// The main window's connection: connecting and disconnecting, and the saved ones.
#include "browser/frmTarnwell.h"
#include "browser/newpassworddialog.h"
#include "connections/connectionadvice.h"
#include "connections/connectionswindow.h"
#include "connections/keepalive.h"
#include "connections/keystore.h"
#include "connections/passwordquestion.h"
#include "console/frmSql.h"
#include "core/command/doubt.h"
#include "core/command/pendingundo.h"
#include "core/command/writing.h"
#include "core/session/basconnection.h"
#include "core/sql/listitem.h"
#include "server/serverwindow.h"

#include <QMenu>
#include <QTimer>

#include <algorithm>
#include <utility>

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

void frmTarnwell::cmdConnect_Click()
{
    const QString missing = m_panel.missingEntry();
    if (!missing.isEmpty()) {
        m_dialogue.refuse(missing);
        return;
    }
    m_panel.takeEntries();
    if (!completeProfile())
        return;
    m_dialogue.setLastError({}, true);
    runAlone(m_controls.cmdConnect, m_controls.cmdConnect->text(), [this] { connectNow(); });
}

void frmTarnwell::connectNow()
{
    showNextStep(m_controls, NextStep::Connecting);
    m_controls.cmdClose->setEnabled(true); // gives it up
    std::optional<Failure> failure;
    {
        const BusyPointer busy(m_dialogue);
        if (!m_session.profile.isReadOnly)
            m_session.writeBans->remove(m_session.profile.id);
        failure = m_panel.connect();
    }
    if (!failure) {
        showConnected();
        noteConnectionUsed();
        settlePending();
        return;
    }
    showNextStep(m_controls, NextStep::Connect);
    m_dialogue.setLastError(withAdvice(*failure, effectiveTls(m_session)), true);
    if (!m_session.runner.isStopWanted())
        m_dialogue.refuse(QStringLiteral("接続失敗"));
    if (isPasswordExpired(m_session, *failure) && renewsPassword())
        return connectNow();
    sConnectMode(false);
    askAgain(*failure);
}

// A refused password stays as it was typed, marked: the next key replaces it. Where it had been kept, the one
// that proves right is kept in its place.
void frmTarnwell::askAgain(const Failure &failure)
{
    constexpr int accessDenied = 1045, accessDeniedWithoutPassword = 1698;
    if (failure.number() != accessDenied && failure.number() != accessDeniedWithoutPassword)
        return;
    const ConnectionProfile &profile = m_session.profile;
    if (profile.isSaved() && m_session.gUser == profile.user && profile.keeping != PasswordKeeping::Ask)
        m_keepsPasswordOf = profile.id;
    m_controls.txtPass->setFocus();
    m_controls.txtPass->selectAll();
}

// The account may log in again once it has another password.
bool frmTarnwell::renewsPassword()
{
    const QString password = askForNewPassword(this);
    if (password.isEmpty())
        return false;
    try {
        const BusyPointer busy(m_dialogue);
        renewPassword(m_session, password);
    } catch (const Failure &error) {
        m_dialogue.setLastError(error.description(), true);
        m_dialogue.refuse(error.description());
        return false;
    }
    m_controls.txtPass->setText(password);
    m_dialogue.setLastError({}, true);
    return true;
}

// What an earlier start of the program has left half done on this server.
void frmTarnwell::settlePending()
{
    try {
        settlePendingUndoLogs(m_session, m_dialogue);
    } catch (const Failure &error) {
        m_dialogue.setLastError(error.description(), true);
    }
}

void frmTarnwell::showConnected()
{
    m_session.gIsLocalServer = namesLocalServer(m_session.gCn->connectionString());
    sConnectMode(true);
    TarnwellControls &c = m_controls;
    for (QPushButton *button :
         {c.cmdDropDb, c.cmdExec, c.cmdBackup, c.cmdRestore, c.cmdCheckTable, c.cmdRepairTable,
          c.cmdOptimizeTable, c.cmdCopyDb, c.cmdDropTable, c.cmdCreateTable, c.cmdInOut, c.cmdScriptBackUp,
          c.cmdDataGet, c.cmdDropProc, c.cmdCreateProc})
        button->setEnabled(false);
    c.cmdShowDb->setFocus();
}

void frmTarnwell::cmdClose_Click()
{
    m_session.runner.leave(this, [this] {
        if (m_rows.mayLeave())
            disconnectNow();
    });
}

void frmTarnwell::disconnectNow()
{
    keepEdits(true, true);
    if (m_keepAlive)
        m_keepAlive->stop();
    if (m_session.profile.isSaved() && m_session.profile.keeping != PasswordKeeping::File)
        m_controls.txtPass->clear(); // it is asked for each time, or the key store has it
    sDisconnect(m_session);
    sConnectMode(false);
    showSurroundings();
    m_controls.cmdConnect->setFocus();
    if (m_console)
        m_console->showDisconnected();
    m_session.gDbName.clear();
    m_session.gIsLocalServer = false;
    m_session.role = {};
    m_panel.showRole();
    m_controls.lblPreTable->clear();
    takeEdits(readConnections());
}

void frmTarnwell::openConnections()
{
    if (m_session.runner.isRunning())
        return;
    ConnectionsWindow window(m_session, m_session.profile.id, this);
    window.exec();
    const ConnectionStore store = readConnections();
    for (const ConnectionProfile &saved : store.profiles())
        if (const ConnectionProfile *old = window.before().find(saved.id); old && *old != saved)
            takeMarks(saved);
    takeEdits(store);
    if (const auto &choice = window.choice())
        useConnection(choice->profile, choice->typedPassword, choice->connectsNow);
}

// Sheets and the server window may stand on another server than the panel's.
void frmTarnwell::takeMarks(const ConnectionProfile &saved)
{
    if (saved.isReadOnly)
        m_session.writeBans->add(saved.id);
    m_sheets.takeMarks(saved);
    if (m_server)
        m_server->takeMarks(saved);
}

// The connection that stands goes by what has been edited, as far as it can.
void frmTarnwell::takeEdits(const ConnectionStore &store)
{
    const ConnectionProfile *saved = store.find(m_session.profile.id);
    if (!saved || *saved == m_session.profile)
        return;
    if (!m_panel.isConnected())
        return showEdits(*saved);
    ConnectionProfile &profile = m_session.profile;
    const bool mayWriteNoMore = saved->isReadOnly && !profile.isReadOnly;
    profile = inUse(profile, *saved);
    takeMarks(profile);
    if (m_strips)
        m_strips->update();
    keepAlive();
    if (mayWriteNoMore) {
        m_menus.turnWritingOff();
        runAlone(this, QStringLiteral("読み取り専用"), [this] {
            m_session.connection().execute(QStringLiteral("SET SESSION TRANSACTION READ ONLY"));
        });
    }
    QStringList words;
    if (*saved != profile)
        words << QStringLiteral("接続先「%1」の変更には、次の「接続」から使われるものがあります。")
                     .arg(profile.name);
    if (mayWriteNoMore && m_session.gCn && m_session.gCn->effect().isInTransaction.value_or(false))
        words << QStringLiteral("開いているトランザクションがあります。COMMIT か ROLLBACK で終えて下さい。"
                                "それまで、書き込む文は断ります。");
    if (!words.isEmpty())
        m_dialogue.setLastError(words.join(u'\n'), false);
}

// In the panel, unless something else has been typed there.
void frmTarnwell::showEdits(const ConnectionProfile &saved)
{
    if (!m_panel.shows(m_session.profile))
        return;
    const bool isKeptInFile = saved.keeping == PasswordKeeping::File;
    useProfile(m_session, saved, isKeptInFile ? saved.password : m_controls.txtPass->text());
    m_panel.showProfile();
}

ConnectionStore frmTarnwell::readConnections()
{
    ConnectionStore store(connectionsFile(m_session));
    // Not in the midst of a menu that opens.
    if (const QString words = store.read(); !words.isEmpty())
        QTimer::singleShot(0, this, [this, words] { m_dialogue.inform(words); });
    return store;
}

void frmTarnwell::offerLastConnections(QMenu &menu)
{
    for (QAction *old : menu.actions())
        if (old->property("isLastConnection").toBool())
            delete old;
    const ConnectionStore store = readConnections();
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

void frmTarnwell::addConnections(std::vector<PaletteEntry> &entries)
{
    const ConnectionStore store = readConnections();
    for (const ConnectionProfile &profile : store.profiles())
        entries.push_back({.name = visibleName(profile.name),
                           .kind = QStringLiteral("接続先"),
                           .hidden = profile.server + u' ' + profile.folder,
                           .choose = [this, profile] { useConnection(profile, profile.password, true); }});
}

void frmTarnwell::useConnection(const ConnectionProfile &profile, const QString &password, bool connectsNow)
{
    m_session.runner.leave(this, [=, this] {
        if (m_panel.isConnected()) {
            if (!mayLeaveFor(profile, connectsNow))
                return;
            disconnectNow();
        }
        useProfile(m_session, profile, password);
        m_panel.showProfile();
        if (connectsNow)
            m_controls.cmdConnect->click();
    });
}

// Who only looks at another connection's entries may not know that the one that stands ends by it.
bool frmTarnwell::mayLeaveFor(const ConnectionProfile &profile, bool connectsNow)
{
    const QString name = m_session.profile.isSaved() ? m_session.profile.name : serverName(m_session);
    if (!connectsNow &&
        !m_dialogue.confirm(QStringLiteral("「%1」との接続を切って、「%2」を入力欄に写しますか？")
                                .arg(visibleName(name), visibleName(profile.name)),
                            Icon::Information))
        return false;
    return m_rows.mayLeave();
}

// What was typed may lead to a saved connection, as after a start: its colour, its way and what it may do
// belong to the server, however the user came there. False: the user was asked for the password and gave up.
bool frmTarnwell::completeProfile()
{
    ConnectionProfile &profile = m_session.profile;
    findProfile();
    if (!profile.isSaved() || profile.kind == ConnectionKind::DataSource || !m_session.gPass.isEmpty())
        return true;
    const bool isOwnUser = m_session.gUser == profile.user; // whose password is kept
    QString why;
    if (const auto kept = isOwnUser ? keptPassword(profile, m_session.runner, *this, why) : std::nullopt) {
        showPassword(*kept);
        return true;
    }
    const std::optional<QString> password =
        askForPassword(this, passwordQuestion(profile, m_session.gUser, why));
    showPassword(password.value_or(QString()));
    if (password && isOwnUser && profile.keeping == PasswordKeeping::Desktop)
        m_keepsPasswordOf = profile.id;
    return password.has_value();
}

// For further connections, beside the one of the panel.
SavedConnections frmTarnwell::savedConnections()
{
    return {
        [this] { return readConnections().profiles(); },
        [&session = m_session](const ConnectionProfile &profile, QWidget *window) -> std::optional<QString> {
            if (profile.kind == ConnectionKind::DataSource)
                return QString();
            QString why;
            const std::optional<QString> kept = keptPassword(profile, session.runner, *window, why);
            return kept ? kept : askForPassword(window, passwordQuestion(profile, profile.user, why));
        }};
}

// As it is saved now: another program, or the one that stood until now, may have kept its edits from it.
void frmTarnwell::findProfile()
{
    ConnectionStore store(connectionsFile(m_session));
    const QString words = store.read();
    if (!words.isEmpty())
        m_dialogue.inform(words);
    const auto leadsHere = [this](const ConnectionProfile &each) {
        return each.leadsTo(m_session.gDsn, m_session.gDriver, m_session.gServer, m_session.gPort);
    };
    if (m_session.profile.isSaved()) {
        const ConnectionProfile *saved = store.find(m_session.profile.id);
        if (saved && leadsHere(*saved))
            m_session.profile = *saved;
        if (saved || !words.isEmpty()) // a damaged file lifts no demand
            return;
        m_session.profile = {};
    }
    std::vector<ConnectionProfile> candidates = store.lastUsed();
    candidates.resize(std::min<std::size_t>(candidates.size(), 1));
    // By way of another machine, the same name is another server.
    std::ranges::copy_if(store.profiles(), std::back_inserter(candidates),
                         [](const ConnectionProfile &each) { return !each.ssh.isUsed(); });
    const auto found = std::ranges::find_if(candidates, leadsHere);
    if (found == candidates.end())
        return;
    m_session.profile = *found;
    m_session.gDbName = found->database;
}

void frmTarnwell::noteConnectionUsed()
{
    keepAlive();
    if (!m_session.profile.isSaved())
        return;
    QString words = ConnectionStore(connectionsFile(m_session)).use(m_session.profile.id);
    words += keepPassword();
    if (!words.isEmpty())
        m_dialogue.setLastError(words, false);
    if (const QString database = m_session.profile.database; !database.isEmpty())
        QTimer::singleShot(0, this, [this, database] {
            reload(Reload::Databases);
            m_controls.lstDb->choose(database);
        });
}

// Asked for because there was none or a wrong one; now it is known to be right.
QString frmTarnwell::keepPassword()
{
    ConnectionProfile &profile = m_session.profile;
    if (std::exchange(m_keepsPasswordOf, {}) != profile.id || m_session.gUser != profile.user)
        return {};
    if (profile.keeping == PasswordKeeping::Desktop)
        return KeyStore().write(profile.id, m_session.gPass);
    const ConnectionProfile before = profile;
    if (profile.keeping == PasswordKeeping::File)
        profile.password = m_session.gPass;
    return profile == before ? QString() : ConnectionStore(connectionsFile(m_session)).put(profile, before);
}

// In the box as well: the console takes it from there.
void frmTarnwell::showPassword(const QString &password)
{
    m_session.gPass = password;
    m_controls.txtPass->setText(password);
}
