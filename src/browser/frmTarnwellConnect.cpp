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
    runAlone(c.cmdConnect, c.cmdConnect->text(), [this] {
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
        if (!m_session.runner.isStopWanted())
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
    m_session.runner.leave(this, [this] { disconnectNow(); });
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
    if (m_session.runner.isRunning())
        return;
    showCreateDatabase(this, m_session, m_dialogue);
    reload(Reload::Databases);
}

void frmTarnwell::cmdInOut_Click()
{
    if (!m_session.runner.isRunning())
        showInOutWindow(this, m_session, m_controls.lstTables->currentText(), m_dialogue);
}

void frmTarnwell::closeEvent(QCloseEvent *event)
{
    if (m_session.runner.isRunning()) {
        event->ignore();
        m_session.runner.leave(this, [this] { close(); });
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
