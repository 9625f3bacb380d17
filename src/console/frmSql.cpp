#include "console/frmSql.h"

#include "console/frmTextEditer.h"
#include "controls/dialogue/widgetdialogue.h"
#include "controls/text/fontscaling.h"
#include "controls/window/activation.h"
#include "controls/window/stopping.h"
#include "controls/window/windowsize.h"
#include "core/session/basconnection.h"
#include "core/session/connectionstring.h"
#include "core/sql/statements.h"

#include <QCloseEvent>
#include <QFocusEvent>
#include <QShortcut>
#include <QSignalBlocker>
#include <QTimer>

namespace {

const QString sizeKey = QStringLiteral("console");
constexpr QSize standardSize(960, 660);

bool isOne(const QString &setting)
{
    return setting == u"1";
}

QString setting(bool isOn)
{
    return isOn ? QStringLiteral("1") : QStringLiteral("0");
}

} // namespace

frmSql::frmSql(Session &session, std::function<bool()> connect, std::unique_ptr<Dialogue> dialogue)
    : m_session(session)
    , m_connect(std::move(connect))
    , m_dialogue(dialogue ? std::move(dialogue) : std::make_unique<WidgetDialogue>(this, DialogueParts{}))
    , c(this)
    , m_variables(session, *c.lstVariablename, *c.lstVariable, *c.txtVariablename)
    , m_run(session, {*c.flgrid_Record, *c.txtRecord,
                      [this](qint64 count) { c.lblRecordCount->setText(QString::number(count)); }})
    , m_completion(*c.txtSql)
    , m_history(historyFile(session))
    , m_draft(*c.txtSql, consoleDrafts(session))
    , m_fonts(new FontScaling(this))
    , m_runClock(new QTimer(this))
{
    setObjectName(QStringLiteral("frmSql"));
    setWindowTitle(QStringLiteral("ｸｴﾘ実行"));
    setAttribute(Qt::WA_DeleteOnClose);
    m_fonts->setObjectName(QStringLiteral("AutoResize1"));
    c.cmdStop->setEnabled(false);
    c.cmdStop->setCursor(Qt::ArrowCursor);
    setStopsRunningCommand(c.cmdStop, true, Qt::SHIFT | Qt::Key_F5);
    c.cmdExec->setProperty("tag", QStringLiteral("False"));
    connectControls();
    addKeys();
    Form_Load();
    restoreSize(*this, m_session.gIniPath, sizeKey, standardSize);
    c.txtSql->setFocus();
}

frmSql::~frmSql()
{
    Form_Unload();
}

void frmSql::connectControls()
{
    connect(m_runClock, &QTimer::timeout, this, &frmSql::showRunTime);
    connect(c.cmdExec, &QPushButton::clicked, this, &frmSql::cmdExec_Click);
    connect(c.cmdStop, &QPushButton::clicked, this, &frmSql::cmdStop_Click);
    connect(c.cmdAnalyze, &QPushButton::clicked, this, &frmSql::cmdAnalyze_Click);
    connect(c.cmdVariable, &QPushButton::clicked, this, &frmSql::cmdVariable_Click);
    connect(c.txtVariablename, &QLineEdit::returnPressed, this, &frmSql::cmdVariable_Click);
    connect(c.cmdVariabl, &QPushButton::clicked, this, &frmSql::cmdVariabl_Click);
    connect(c.cmdFolder, &QPushButton::clicked, this, &frmSql::cmdFolder_Click);
    connect(c.cmdEditer, &QPushButton::clicked, this, &frmSql::cmdEditer_Click);
    connect(c.ckNoTextNoGrid, &QCheckBox::toggled, this, &frmSql::ckNoTextNoGrid_Click);
    connect(c.ckMemo[0], &QCheckBox::toggled, this, &frmSql::ckNoTextNoGrid_Click);
    connect(c.optFont[1], &QRadioButton::toggled, this, &frmSql::optFont_Click);
    for (QRadioButton *choice : c.optRecord)
        connect(choice, &QRadioButton::toggled, this, &frmSql::showView);
    // At once, not only when the console closes: an activation chooses what the session says.
    connect(c.cboDelimiter, &QComboBox::currentIndexChanged, this,
            [this] { m_session.gDelimiter = c.cboDelimiter->currentText(); });
    connect(c.txtSql, &StatementBox::refused, this,
            [this](const QString &description) { m_dialogue->refuse(description); });
    c.txtError->installEventFilter(this);
    connect(new WindowActivation(this), &WindowActivation::activated, this, &frmSql::Form_Activate);
}

void frmSql::addKeys()
{
    for (const auto &[keys, button] : std::initializer_list<std::pair<QList<QKeySequence>, QPushButton *>>{
             {{Qt::Key_F5, Qt::CTRL | Qt::Key_Return, Qt::CTRL | Qt::Key_Enter}, c.cmdExec},
             {{Qt::SHIFT | Qt::Key_F5}, c.cmdStop},
             {{Qt::Key_F6}, c.cmdAnalyze},
             {{Qt::Key_F7}, c.cmdVariabl}}) {
        for (const QKeySequence &key : keys)
            connect(new QShortcut(key, this), &QShortcut::activated, button, &QPushButton::click);
    }
    for (std::size_t i = 0; i < c.optRecord.size(); ++i)
        c.optRecord[i]->setShortcut(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + static_cast<int>(i)));

    const auto onStatement = [this](QKeyCombination key, auto action) {
        connect(new QShortcut(key, c.txtSql, nullptr, nullptr, Qt::WidgetShortcut), &QShortcut::activated,
                this, action);
    };
    onStatement(Qt::CTRL | Qt::Key_Space, [this] { offerWords(); });
    onStatement(Qt::ALT | Qt::Key_Up, [this] { showHistory(m_history.older(c.txtSql->contents())); });
    onStatement(Qt::ALT | Qt::Key_Down, [this] { showHistory(m_history.newer()); });
}

void frmSql::Form_Load()
{
    c.ckMemo[0]->setChecked(isOne(m_session.gMemo1));
    c.ckMemo[1]->setChecked(isOne(m_session.gMemo2));
    c.ckNoTextNoGrid->setChecked(isOne(m_session.gNoTextNoGrid));
    ckNoTextNoGrid_Click();
    c.optFont[m_session.gFont != u"0" ? 1 : 0]->setChecked(true);
    c.optRecord[1]->setChecked(true);
    chooseDelimiter();
    m_variables.load();
    m_session.gSqlOpen = true;
    m_isLoaded = true;
}

void frmSql::Form_Activate()
{
    if (m_session.runner.isRunning(c.cmdExec) || !m_isLoaded)
        return;
    // The connection cannot be replaced beneath a statement of another window: once that has ended it can.
    m_session.runner.choose(c.lblState, QStringLiteral("ｺﾝｿｰﾙの接続"), [this] {
        if (isActiveWindow())
            withStop([this] { reconnect(); });
    });
}

void frmSql::showState()
{
    c.encryption->showOf(m_session.gCn.get());
    if (m_session.gDsn != noDataSource())
        c.lblState->setText(shownSource(m_session.gDsn) + QStringLiteral(":接続OK"));
    else if (m_session.gDbName.isEmpty())
        c.lblState->setText(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。"));
    else
        c.lblState->setText(m_session.gDbName + QStringLiteral(":接続OK"));
}

void frmSql::showDisconnected()
{
    c.lblState->setText(QStringLiteral("切断しました"));
    c.encryption->showOf(nullptr);
}

void frmSql::chooseDelimiter()
{
    const QSignalBlocker quiet(c.cboDelimiter);
    c.cboDelimiter->setCurrentIndex(std::max(0, c.cboDelimiter->findText(m_session.gDelimiter)));
}

void frmSql::Form_Unload()
{
    if (!std::exchange(m_isLoaded, false))
        return;
    m_session.gNoTextNoGrid = setting(c.ckNoTextNoGrid->isChecked());
    m_session.gMemo1 = setting(c.ckMemo[0]->isChecked());
    m_session.gMemo2 = setting(c.ckMemo[1]->isChecked());
    m_session.gFont = setting(!c.optFont[0]->isChecked());
    m_session.gDelimiter = c.cboDelimiter->currentText();
    m_variables.keep();
    keepSize(*this, m_session.gIniPath, sizeKey, standardSize);
    // What was written but not run is not lost with the window.
    if (const QString draft = trimmedBlanks(c.txtSql->contents()); !draft.trimmed().isEmpty())
        remember(draft);
    m_draft.remove();
    m_session.gSqlOpen = false;
}

void frmSql::closeEvent(QCloseEvent *event)
{
    if (m_session.runner.isRunning(this)) {
        event->ignore();
        m_session.runner.leave(this, [this] { close(); });
        return;
    }
    Form_Unload();
    QWidget::closeEvent(event);
}

void frmSql::cmdFolder_Click()
{
    const QString folder =
        m_dialogue->chooseFolder(QStringLiteral("保存先のﾌｫﾙﾀﾞを選択して下さい。"), m_session.gTextPath);
    if (!folder.trimmed().isEmpty())
        m_session.gTextPath = folder;
}

void frmSql::cmdEditer_Click()
{
    frmTextEditer(m_session, this).exec();
}

// With the file alone, it is always written; the editor can open only what is saved.
void frmSql::ckNoTextNoGrid_Click()
{
    const bool isFileOnly = c.ckNoTextNoGrid->isChecked();
    if (isFileOnly)
        for (QCheckBox *memo : c.ckMemo)
            memo->setChecked(true);
    c.ckMemo[0]->setEnabled(!isFileOnly);
    c.ckMemo[1]->setEnabled(!isFileOnly && c.ckMemo[0]->isChecked());
}

void frmSql::optFont_Click()
{
    m_fonts->setNames(c.optFont[1]->isChecked() ? c.scaledNames() : QStringList());
}

void frmSql::showView()
{
    const auto views = c.views();
    for (std::size_t i = 0; i < views.size(); ++i) {
        views[i]->setVisible(c.optRecord[i]->isChecked());
        if (i < 2 && c.optRecord[i]->isChecked())
            m_resultView = i;
    }
}

void frmSql::showHistory(const QString &statement)
{
    // Without undo: what was typed comes back with Alt+Down, and texts would pile up.
    if (!statement.isNull())
        c.txtSql->setContents(statement);
}

bool frmSql::eventFilter(QObject *watched, QEvent *event)
{
    // A context menu that closes only gives the focus back. The press that gave the focus comes after it and
    // would take the selection away again.
    if (watched == c.txtError && event->type() == QEvent::FocusIn &&
        static_cast<QFocusEvent *>(event)->reason() != Qt::PopupFocusReason)
        QTimer::singleShot(0, c.txtError, &QPlainTextEdit::selectAll);
    return QWidget::eventFilter(watched, event);
}
