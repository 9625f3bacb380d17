#include "browser/frmTarnwell.h"

#include "console/frmSql.h"
#include "controls/window/activation.h"
#include "controls/window/stopping.h"
#include "controls/window/windowsize.h"
#include "core/session/bascommon.h"
#include "core/session/basconnection.h"
#include "maintenance/backup/frmRestore.h"
#include "server/serverwindow.h"
#include "structure/diagram/diagramwindow.h"
#include "structure/search/searchwindow.h"
#include "structure/surroundings/surroundingspane.h"
#include "transfer/commands.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFocusEvent>
#include <QLayout>
#include <QMenuBar>
#include <QSessionManager>
#include <QTimer>

namespace {

QString versionCaption()
{
    const QStringList numbers = QStringLiteral(TARNWELL_VERSION).split(u'.');
    return QStringLiteral("Tarnwell (Ver %1.%2)").arg(numbers.value(0), numbers.value(1));
}

DialogueParts partsOf(const TarnwellControls &controls)
{
    DialogueParts parts;
    parts.lblCnt = controls.lblCnt;
    parts.timeLeft = controls.timeLeft;
    parts.picStatus = controls.picStatus;
    parts.lblCkTableName = controls.lblCkTableName;
    parts.txtError = controls.txtError;
    parts.Label13 = controls.Label13;
    parts.chooseBackups = chooseBackupsWithWindow;
    return parts;
}

template <class... Widgets>
void enable(bool isOn, Widgets *...widgets)
{
    (widgets->setEnabled(isOn), ...);
}

} // namespace

frmTarnwell::frmTarnwell(Session &session)
    : m_session(session)
    , m_controls(this, session.statementLog)
    , m_dialogue(this, partsOf(m_controls))
    , m_panel(session, m_controls)
    , m_lists(session, m_controls)
    , m_detail(session, m_controls)
    , m_rows(session, m_dialogue, *m_controls.rowsPane)
    , m_viewer(session, m_controls, m_dialogue, m_rows)
    , m_menus(*this, session, m_controls)
    , m_sheets(session)
{
    setObjectName(QStringLiteral("frmTarnwell"));
    connectSignals();
    offerExport(*this, m_session);
    offerCommands();
    layout()->setMenuBar(m_menus.makeMenuBar());
    new EscapeStops(session.runner, this);
    // From the event loop: the windows that ran something are still on the stack.
    connect(&session.runner, &Runner::idle, this, &frmTarnwell::comeBackWhenIdle, Qt::QueuedConnection);
    connect(&session.runner, &Runner::started, this, [this] { m_hasTriedToComeBack = false; });
    // Who has given up a server that does not answer shall not find the window waiting for it again.
    connect(&session.runner, &Runner::stopWanted, this, [this] { m_hasTriedToComeBack = true; });
    session.comeBack = [this] { comeBack(); };
    connect(new WindowActivation(this), &WindowActivation::activated, this,
            [this] { m_panel.chooseSaved(); });
    // Qt 6 leaves it to each program to be asked when the desktop ends.
    connect(qApp, &QGuiApplication::commitDataRequest, this, &frmTarnwell::endWithDesktop,
            Qt::DirectConnection);
    Form_Load();
    m_panel.chooseSaved();
    restoreSize(*this, m_session.gIniPath, sizeKey, standardSize);
    restoreSplitters(*this, m_session.gIniPath, sizeKey);
}

frmTarnwell::~frmTarnwell()
{
    // It works on the session, which ends soon after this window.
    delete m_console;
    delete m_server;
    delete m_search;
    delete m_surroundings;
    delete m_diagram;
    m_session.comeBack = {};
}

void frmTarnwell::Form_Load()
{
    setWindowTitle(versionCaption());
    if (const QString words = sLoadSettings(m_session); !words.isEmpty())
        QTimer::singleShot(0, this, [this, words] { m_dialogue.inform(words); });
    m_panel.showSettings();
    m_panel.GetDSNsAndDrivers();
    m_controls.cboLimit->setCurrentIndex(0);
    m_controls.optTP[0]->setChecked(true);
    m_controls.optField[1]->setChecked(true);
    sConnectMode(false);
    m_controls.lblPreTable->clear(); // the designer's text stands for no state
}

void frmTarnwell::connectSignals()
{
    TarnwellControls &c = m_controls;
    connect(c.cboDSNList, &QComboBox::currentTextChanged, this, [this] { m_panel.cboDSNList_Click(); });
    setStopsRunningCommand(c.cmdClose, true, Qt::ALT | Qt::Key_D);
    setStopsRunningCommand(c.cmdEnd, true, Qt::CTRL | Qt::Key_Q);
    for (const QLineEdit *field :
         {c.cboDSNList->lineEdit(), c.cboDrivers->lineEdit(), c.txtServer, c.txtUser, c.txtPass, c.txtPort})
        connect(field, &QLineEdit::returnPressed, c.cmdConnect, &QPushButton::click);
    for (ChosenList *list : {c.lstDb, c.lstTables, c.lstProcFunc})
        connect(list, &ChosenList::chosen, this, [this, list] { choose(list); });
    const auto offerForText = [this](const QString &title, SqlTextBox &editor,
                                     void (frmTarnwell::*offered)()) {
        auto *action = new QAction(title, &editor);
        connect(action, &QAction::triggered, this, offered);
        editor.addAction(action);
    };
    const QString ownText = QStringLiteral("サーバーの定義");
    offerForText(ownText, *c.txtField, &frmTarnwell::showOwnTable);
    offerForText(QStringLiteral("ALTER文を表示"), *c.txtField, &frmTarnwell::showAlter);
    offerForText(ownText, *c.txtProc, &frmTarnwell::showOwnRoutine);
    for (int i = 0; i < 4; ++i) {
        c.optField[static_cast<std::size_t>(i)]->setShortcut(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + i));
        connect(c.optField[static_cast<std::size_t>(i)], &QRadioButton::toggled, this,
                [this, i](bool isChosen) {
                    if (isChosen)
                        m_detail.optField_Click(i);
                });
    }
    connect(c.optTP[0], &QRadioButton::toggled, this, [this](bool isTable) {
        m_controls.picTable->setVisible(isTable);
        m_controls.picProc->setVisible(!isTable);
    });
    connect(&m_rows, &RowsView::readWanted, c.cmdDataGet, &QPushButton::click);
    connect(&m_rows, &RowsView::tableWanted, this, &frmTarnwell::openRows);
    connect(c.log, &StatementLogView::statementChosen, this, &frmTarnwell::showInConsole);
    for (QWidget *box :
         std::initializer_list<QWidget *>{c.txtServer, c.txtUser, c.txtPass, c.txtPort, c.txtError})
        box->installEventFilter(this);
}

// The whole text is selected when such a box gets the focus, so that it can be replaced or copied at once.
bool frmTarnwell::eventFilter(QObject *watched, QEvent *event)
{
    // A context menu that closes only gives the focus back.
    if (event->type() == QEvent::FocusIn &&
        static_cast<QFocusEvent *>(event)->reason() != Qt::PopupFocusReason) {
        // After the press that gave the focus, which would take the selection away again; but not in a field
        // that the focus only passed through while others were disabled.
        if (auto *line = qobject_cast<QLineEdit *>(watched))
            QTimer::singleShot(0, line, [line] {
                if (line->hasFocus())
                    line->selectAll();
            });
        else if (auto *text = qobject_cast<QPlainTextEdit *>(watched))
            QTimer::singleShot(0, text, &QPlainTextEdit::selectAll);
    }
    return QWidget::eventFilter(watched, event);
}

void frmTarnwell::sConnectMode(bool connected)
{
    TarnwellControls &c = m_controls;
    for (QLabel *label : {c.lblTableName, c.lblProcName, c.lblCkTableName})
        label->clear();
    c.txtField->setContents({});
    c.txtProc->setContents({});
    c.lblEditName->setText(QStringLiteral("編集????："));
    c.lblEditProcName->setText(QStringLiteral("編集????："));
    for (ChosenList *list : {c.lstDb, c.lstTables, c.lstProcFunc})
        list->clearItems();
    showNextStep(c, connected ? NextStep::ListDatabases : NextStep::Connect);
    for (FlexGrid *grid : {c.flGrid_Field, c.flGrid_Index, c.flGrid_Status, c.flGrid_Data})
        grid->clearGrid();

    enable(!connected, c.cmdConnect, c.cboDSNList, c.txtPass, c.cboDrivers, c.txtServer, c.txtUser,
           c.txtPort);
    enable(connected, c.cmdClose, c.txtField, c.txtProc, c.cmdShowDb, c.cmdCreateDb, c.cmdDropDb,
           c.cmdCreateUser, c.openServer, c.cmdExec, c.cmdDropProc, c.cmdCreateProc, c.optTP[0], c.optTP[1],
           c.cmdBackup, c.cmdRestore, c.cmdCheckTable, c.cmdRepairTable, c.cmdOptimizeTable, c.cmdCopyDb,
           c.cmdDropTable, c.cmdCreateTable, c.cmdInOut, c.cmdScriptBackUp, c.lstDb, c.lstTables,
           c.lstProcFunc, c.optField[0], c.optField[1], c.optField[2], c.optField[3], c.cmdDataGet,
           c.cboLimit, c.flGrid_Field, c.flGrid_Index, c.flGrid_Status, c.flGrid_Data);
    c.picStatus->clearBar();
    c.encryption->showOf(m_session.gCn.get());
    if (!m_strips && connected && m_session.profile.isSaved())
        m_strips = new ServerStrips(m_session, this);
    if (m_strips)
        m_strips->update();
    m_panel.cboDSNList_Click();
}

bool frmTarnwell::mayStopTransfers()
{
    const QStringList running = transfersToLose();
    return running.isEmpty() ||
           m_dialogue.warn(QStringLiteral("実行中の処理があります。\r\n・%1\r\n中断して終了しますか？")
                               .arg(running.join(QStringLiteral("\r\n・"))));
}

void frmTarnwell::endWithDesktop(QSessionManager &desktop)
{
    if (!desktop.allowsInteraction()) // no box can be answered
        return;
    if (!close())
        desktop.cancel();
    desktop.release();
}

void frmTarnwell::closeEvent(QCloseEvent *event)
{
    if (m_session.runner.isRunning()) {
        event->ignore();
        m_session.runner.leave(this, [this] { close(); });
        return;
    }
    // Transfers, which are stopped, rows that are not saved, or a transaction that is open.
    if (!mayStopTransfers() || !m_rows.mayLeave() || !m_sheets.close()) {
        event->ignore();
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
    keepSplitters(*this, m_session.gIniPath, sizeKey);
    sDisconnect(m_session);
    event->accept();
    for (QWidget *window : QApplication::topLevelWidgets())
        if (window != this)
            window->close();
}
