#include "browser/frmTarnwell.h"

#include "about/frmabout.h"
#include "browser/listmenu.h"
#include "browser/nextstep.h"
#include "console/frmSql.h"
#include "controls/activation.h"
#include "controls/stopping.h"
#include "controls/windowsize.h"
#include "core/bascommon.h"
#include "core/basconnection.h"
#include "core/connect.h"
#include "maintenance/batchcommands.h"
#include "maintenance/ddlcommands.h"
#include "maintenance/frmRestore.h"
#include "users/frmUserAdd.h"

#include <QApplication>
#include <QFocusEvent>
#include <QShortcut>
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
    , m_lists(session, m_controls)
    , m_detail(session, m_controls)
    , m_viewer(session, m_controls, m_dialogue)
{
    setObjectName(QStringLiteral("frmTarnwell"));
    connectSignals();
    addKeys();
    auto *activation = new WindowActivation(this);
    connect(activation, &WindowActivation::activated, this, &frmTarnwell::Form_Activate);
    new EscapeStops(session.runner, this);
    Form_Load();
    Form_Activate();
    restoreSize(*this, m_session.gIniPath, sizeKey, standardSize);
}

frmTarnwell::~frmTarnwell()
{
    // It works on the session, which ends soon after this window.
    delete m_console;
}

void frmTarnwell::Form_Load()
{
    setWindowTitle(versionCaption());
    if (const QString words = sLoadSettings(m_session); !words.isEmpty())
        QTimer::singleShot(0, this, [this, words] { m_dialogue.inform(words); });
    m_controls.txtServer->setText(m_session.gServer);
    m_controls.txtUser->setText(m_session.gUser);
    m_controls.txtPass->setText(m_session.gPass);
    if (!m_session.gPort.isEmpty())
        m_controls.txtPort->setText(m_session.gPort);
    GetDSNsAndDrivers();
    m_controls.cboLimit->setCurrentIndex(0);
    m_controls.optTP[0]->setChecked(true);
    m_controls.optField[1]->setChecked(true);
    sConnectMode(false);
    m_controls.lblPreTable->clear(); // the designer's text stands for no state
}

void frmTarnwell::GetDSNsAndDrivers()
{
    const DriverListing listing = listOdbc();
    m_controls.cboDSNList->addItem(noDataSource());
    m_controls.cboDSNList->addItems(listing.dataSources);
    m_controls.cboDSNList->setCurrentIndex(0);
    m_controls.cboDrivers->addItems(listing.drivers);
    m_controls.cboDrivers->addItem(nativeDriverName());
}

void frmTarnwell::Form_Activate()
{
    const auto choose = [](QComboBox &box, const QString &text, bool isLastMatch) {
        box.setCurrentIndex(0);
        for (int i = 0; i < box.count(); ++i) {
            if (box.itemText(i) != text)
                continue;
            box.setCurrentIndex(i);
            if (!isLastMatch)
                break;
        }
        box.setEditText(box.currentIndex() < 0 ? QString() : box.itemText(box.currentIndex()));
    };
    choose(*m_controls.cboDSNList, m_session.gDsn, true);
    choose(*m_controls.cboDrivers, m_session.gDriver, false);
    cboDSNList_Click();
}

void frmTarnwell::connectSignals()
{
    TarnwellControls &c = m_controls;
    connect(c.cboDSNList, &QComboBox::currentTextChanged, this, &frmTarnwell::cboDSNList_Click);
    setStopsRunningCommand(c.cmdClose, true, Qt::ALT | Qt::Key_D);
    connect(c.cmdConnect, &QPushButton::clicked, this, &frmTarnwell::cmdConnect_Click);
    for (const QLineEdit *field :
         {c.cboDSNList->lineEdit(), c.cboDrivers->lineEdit(), c.txtServer, c.txtUser, c.txtPass, c.txtPort})
        connect(field, &QLineEdit::returnPressed, c.cmdConnect, &QPushButton::click);
    connect(c.cmdClose, &QPushButton::clicked, this, &frmTarnwell::cmdClose_Click);
    connect(c.cmdEnd, &QPushButton::clicked, this, &QWidget::close);
    connect(c.Command1, &QPushButton::clicked, this, [this] { showAboutBox(this); });
    connect(c.cmdShowDb, &QPushButton::clicked, this, [this] {
        m_dialogue.setLastError({}, true);
        reload(Reload::Databases);
    });
    for (ChosenList *list : {c.lstDb, c.lstTables, c.lstProcFunc})
        connect(list, &ChosenList::chosen, this, [this, list] { choose(list); });
    connect(c.cmdCreateDb, &QPushButton::clicked, this, &frmTarnwell::cmdCreateDb_Click);
    connect(c.cmdCreateUser, &QPushButton::clicked, this, [this] { showUserWindow(this, m_session); });
    connect(c.cmdExec, &QPushButton::clicked, this, &frmTarnwell::cmdExec_Click);
    connect(c.cmdInOut, &QPushButton::clicked, this, &frmTarnwell::cmdInOut_Click);
    connect(c.cmdDataGet, &QPushButton::clicked, this, [this] {
        if (m_session.runner.isRunning(m_controls.cmdDataGet))
            m_session.runner.stop();
        else
            runAlone(m_controls.cmdDataGet, m_controls.cmdDataGet->text(),
                     [this] { m_viewer.cmdDataGet_Click(); });
    });
    for (int i = 0; i < 4; ++i)
        connect(c.optField[static_cast<std::size_t>(i)], &QRadioButton::toggled, this,
                [this, i](bool isChosen) {
                    if (isChosen)
                        m_detail.optField_Click(i);
                });
    connect(c.optTP[0], &QRadioButton::toggled, this, [this](bool isTable) {
        m_controls.picTable->setVisible(isTable);
        m_controls.picProc->setVisible(!isTable);
    });
    addListMenu(*c.lstDb, {c.cmdShowDb, c.cmdCreateDb, c.cmdDropDb, c.cmdExec});
    addListMenu(*c.lstTables, {c.cmdDataGet, c.cmdCheckTable, c.cmdRepairTable, c.cmdOptimizeTable,
                               c.cmdCopyDb, c.cmdInOut, c.cmdDropTable});
    addListMenu(*c.lstProcFunc, {c.cmdDropProc});
    for (const std::span<const Command> &commands : {batchCommands(), ddlCommands()})
        for (const Command &command : commands)
            connect(findChild<QPushButton *>(QLatin1String(command.control)), &QPushButton::clicked, this,
                    [this, &command] { run(command); });
    connect(c.showLog, &QPushButton::toggled, c.log, &QWidget::setVisible);
    connect(c.log, &StatementLogView::statementChosen, this, &frmTarnwell::showInConsole);
    for (QWidget *box :
         std::initializer_list<QWidget *>{c.txtServer, c.txtUser, c.txtPass, c.txtPort, c.txtError})
        box->installEventFilter(this);
}

void frmTarnwell::addKeys()
{
    TarnwellControls &c = m_controls;
    const auto key = [this](const QString &keys, QPushButton *button) {
        connect(new QShortcut(QKeySequence(keys), this), &QShortcut::activated, button, &QPushButton::click);
    };
    key(QStringLiteral("Alt+C"), c.cmdConnect);
    key(QStringLiteral("Alt+D"), c.cmdClose);
    key(QStringLiteral("Alt+L"), c.cmdShowDb);
    key(QStringLiteral("Alt+N"), c.cmdCreateDb);
    key(QStringLiteral("Alt+Shift+N"), c.cmdDropDb);
    key(QStringLiteral("Alt+U"), c.cmdCreateUser);
    key(QStringLiteral("Ctrl+Q"), c.cmdEnd);
    key(QStringLiteral("F1"), c.Command1);
    key(QStringLiteral("F6"), c.cmdDataGet);
    key(QStringLiteral("F9"), c.cmdExec);
    key(QStringLiteral("F12"), c.showLog);
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_S), this), &QShortcut::activated, this, [this] {
        (m_controls.optTP[0]->isChecked() ? m_controls.cmdCreateTable : m_controls.cmdCreateProc)->click();
    });
    connect(new QShortcut(QKeySequence(Qt::Key_F5), this), &QShortcut::activated, this,
            &frmTarnwell::refreshShown);
}

void frmTarnwell::refreshShown()
{
    TarnwellControls &c = m_controls;
    if (!c.cmdShowDb->isEnabled())
        return;
    if (c.optTP[1]->isChecked() && c.lstProcFunc->currentItem())
        Q_EMIT c.lstProcFunc->chosen();
    else if (c.lblPreTable->text() == u"1" && c.lstTables->currentItem())
        Q_EMIT c.lstTables->chosen();
    else
        reload(c.lblPreTable->text() == u"0" ? Reload::Objects : Reload::Databases);
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
    showNextStep(c, connected ? Step::ListDatabases : Step::Connect);
    for (FlexGrid *grid : {c.flGrid_Field, c.flGrid_Index, c.flGrid_Status, c.flGrid_Data})
        grid->clearGrid();

    enable(!connected, c.cmdConnect, c.cboDSNList, c.txtPass, c.cboDrivers, c.txtServer, c.txtUser,
           c.txtPort);
    enable(connected, c.cmdClose, c.txtField, c.txtProc, c.cmdShowDb, c.cmdCreateDb, c.cmdDropDb,
           c.cmdCreateUser, c.cmdExec, c.cmdDropProc, c.cmdCreateProc, c.optTP[0], c.optTP[1], c.cmdBackup,
           c.cmdRestore, c.cmdCheckTable, c.cmdRepairTable, c.cmdOptimizeTable, c.cmdCopyDb, c.cmdDropTable,
           c.cmdCreateTable, c.cmdInOut, c.cmdScriptBackUp, c.lstDb, c.lstTables, c.lstProcFunc,
           c.optField[0], c.optField[1], c.optField[2], c.optField[3], c.cmdDataGet, c.cboLimit,
           c.flGrid_Field, c.flGrid_Index, c.flGrid_Status, c.flGrid_Data);
    c.picStatus->clearBar();
    cboDSNList_Click();
}
