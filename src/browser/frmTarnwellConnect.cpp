// The main window's connection panel, the windows it opens, and its end.
#include "browser/frmTarnwell.h"
#include "browser/nextstep.h"
#include "console/frmSql.h"
#include "controls/windowsize.h"
#include "core/bascommon.h"
#include "core/basconnection.h"
#include "core/statements.h"
#include "inout/frminout.h"
#include "maintenance/frmCreateDB.h"

#include <QApplication>
#include <QCloseEvent>
#include <QTimer>

void frmTarnwell::cboDSNList_Click()
{
    TarnwellControls &c = m_controls;
    // Connected, the fields stay disabled whatever is chosen.
    const bool isByDriver = c.cboDSNList->isEnabled() && c.cboDSNList->currentText() == noDataSource();
    for (QWidget *field :
         std::initializer_list<QWidget *>{c.cboDrivers, c.txtServer, c.txtUser, c.txtPass, c.txtPort})
        field->setEnabled(isByDriver);
}

// The refusal for the first empty entry; empty when all are there.
QString frmTarnwell::missingEntry() const
{
    const TarnwellControls &c = m_controls;
    const QString source = trimmedBlanks(c.cboDSNList->currentText());
    const QString driverMissing = QStringLiteral("ﾄﾞﾗｲﾊﾞを選択して下さい。");
    if (source.isEmpty())
        return driverMissing; // there is no message of its own for an empty data source
    if (source != noDataSource())
        return {};
    const struct {
        QString text, message;
    } entries[] = {
        {c.cboDrivers->currentText(), driverMissing},
        {c.txtServer->text(), QStringLiteral("ｻｰﾊﾞｰ名を選択して下さい。")},
        {c.txtUser->text(), QStringLiteral("ﾕｰｻﾞｰ名を選択して下さい。")},
        {c.txtPort->text(), QStringLiteral("ﾎﾟｰﾄを選択して下さい。")},
    };
    for (const auto &entry : entries)
        if (trimmedBlanks(entry.text).isEmpty())
            return entry.message;
    return {};
}

void frmTarnwell::cmdConnect_Click()
{
    const QString missing = missingEntry();
    if (!missing.isEmpty()) {
        m_dialogue.refuse(missing);
        return;
    }
    TarnwellControls &c = m_controls;
    m_session.gDsn = trimmedBlanks(c.cboDSNList->currentText());
    m_session.gDriver = trimmedBlanks(c.cboDrivers->currentText());
    m_session.gServer = trimmedBlanks(c.txtServer->text());
    m_session.gUser = trimmedBlanks(c.txtUser->text());
    m_session.gPass = trimmedBlanks(c.txtPass->text());
    m_session.gPort = trimmedBlanks(c.txtPort->text());
    m_dialogue.setLastError({}, true);
    runAlone([this] {
        QString why;
        bool isConnected = false;
        showNextStep(m_controls, Step::Connecting);
        m_controls.cmdClose->setEnabled(true); // gives it up
        {
            const BusyPointer busy(m_dialogue);
            isConnected = fConnect(m_session, &why);
        }
        if (isConnected) {
            showConnected();
            return;
        }
        m_dialogue.setLastError(why, true);
        if (m_wish == Wish::Nothing)
            m_dialogue.refuse(QStringLiteral("接続失敗"));
        sConnectMode(false);
    });
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
    wishFor(Wish::Disconnect);
}

void frmTarnwell::disconnectNow()
{
    keepEdits(true, true);
    sDisconnect(m_session);
    sConnectMode(false);
    m_controls.cmdConnect->setFocus();
    if (m_console)
        m_console->showDisconnected();
    m_session.gDbName.clear();
    m_session.gIsLocalServer = false;
    m_controls.lblPreTable->clear();
}

void frmTarnwell::stopEverything()
{
    if (m_viewer.isRunning())
        m_viewer.stop();
    if (m_console && m_console->isRunning())
        m_console->cmdStop_Click();
    if (m_session.opening)
        m_session.opening->cancel();
    if (m_session.gCn && m_session.gCn->isBusy())
        m_session.gCn->cancel();
}

bool frmTarnwell::isIdle() const
{
    const frmSql *console = m_console;
    return !isOccupied() && (!console || console->isIdle());
}

// Now when nothing runs; else what runs is stopped first, and the wish comes true once it has ended.
void frmTarnwell::wishFor(Wish wish)
{
    m_wish = std::max(m_wish, wish);
    m_session.isStopWanted = true;
    stopEverything();
    fulfilWish();
}

void frmTarnwell::fulfilWish()
{
    if (m_wish == Wish::Nothing)
        return;
    if (!isIdle()) {
        QTimer::singleShot(20, this, &frmTarnwell::fulfilWish);
        return;
    }
    const Wish wish = std::exchange(m_wish, Wish::Nothing);
    m_session.isStopWanted = false;
    if (wish == Wish::Close)
        close();
    else
        disconnectNow();
}

void frmTarnwell::cmdExec_Click()
{
    if (m_session.gDsn == noDataSource() && m_session.gDbName.isEmpty()) {
        m_dialogue.refuse(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。"));
        return;
    }
    TarnwellControls &c = m_controls;
    m_session.gDsn = c.cboDSNList->currentText();
    m_session.gDriver = c.cboDrivers->currentText();
    m_session.gServer = c.txtServer->text();
    m_session.gPass = c.txtPass->text();
    m_session.gUser = c.txtUser->text();
    // One that was closed lives until the event loop is back where it was closed.
    if (!m_console || !m_session.gSqlOpen)
        m_console = new frmSql(m_session, [this] { return fConnect(m_session); });
    m_console->show();
    m_console->raise();
    m_console->activateWindow();
}

void frmTarnwell::showInConsole(const QString &statement)
{
    if (m_controls.cmdExec->isEnabled())
        cmdExec_Click();
    if (m_console)
        m_console->propose(statement);
}

void frmTarnwell::cmdCreateDb_Click()
{
    runAlone([this] { showCreateDatabase(this, m_session, m_dialogue); });
    reload(Reload::Databases);
}

void frmTarnwell::cmdInOut_Click()
{
    runAlone([this] { showInOutWindow(this, m_session, m_controls.lstTables->currentText(), m_dialogue); });
}

void frmTarnwell::closeEvent(QCloseEvent *event)
{
    if (!isIdle()) {
        event->ignore();
        wishFor(Wish::Close);
        return;
    }
    keepEdits(true, true);
    // The console first: it hands its options to the settings.
    if (m_console)
        m_console->close();
    const QString failure = sSaveSettings(m_session);
    // Where the desktop ends all programs there is nobody to read it.
    if (!failure.isEmpty() && isVisible() && !qApp->isSavingSession())
        m_dialogue.refuse(QStringLiteral("設定を保存できませんでした。\r\n") + failure);
    keepSize(*this, m_session.gIniPath, sizeKey, standardSize);
    sDisconnect(m_session);
    event->accept();
    for (QWidget *window : QApplication::topLevelWidgets())
        if (window != this)
            window->close();
}
