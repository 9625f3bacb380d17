#include "console/frmSql.h"

#include "console/explain.h"
#include "console/frmTextEditer.h"
#include "controls/dialogue/widgetdialogue.h"
#include "controls/text/fontscaling.h"
#include "controls/window/activation.h"
#include "controls/window/stopping.h"
#include "controls/window/windowsize.h"
#include "core/command/columnnames.h"
#include "core/command/doubt.h"
#include "core/command/writing.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"

#include <QCloseEvent>
#include <QFocusEvent>
#include <QScopeGuard>
#include <QShortcut>
#include <QSignalBlocker>
#include <QTimer>

#include <new>
#include <optional>

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

QString seconds(qint64 milliseconds)
{
    return QStringLiteral("%1 秒").arg(static_cast<double>(milliseconds) / 1000, 0, 'f', 2);
}

const QString interrupted = QStringLiteral("処理を中断しました");
constexpr char delimiters[] = {' ', '\t', '|', ',', ':', ';'}; // in the order of cboDelimiter

// What went wrong, if anything did.
using Words = std::optional<QString>;

Words failureOf(const std::function<void()> &work)
{
    try {
        work();
        return {};
    } catch (const Failure &error) {
        return error.description();
    } catch (const std::bad_alloc &) {
        return outOfMemory().description();
    }
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
    connect(c.cmdExec, &QPushButton::clicked, this, &frmSql::cmdExec_Click);
    connect(c.cmdStop, &QPushButton::clicked, this, &frmSql::cmdStop_Click);
    connect(m_runClock, &QTimer::timeout, this, [this] { c.runTime->setText(seconds(m_runTime.elapsed())); });
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

void frmSql::runAlone(QWidget *control, const QString &what, const Runner::Action &action)
{
    m_session.runner.run(control, what, [&] { withStop(action); });
}

void frmSql::withStop(const Runner::Action &action)
{
    c.cmdStop->setEnabled(true);
    const auto isOver = qScopeGuard([this] { c.cmdStop->setEnabled(false); });
    action();
}

void frmSql::reconnect()
{
    c.lblState->setText(QStringLiteral("接続中･･･"));
    m_completion.forgetNames();
    if (m_connect()) {
        showState();
        chooseDelimiter();
        return;
    }
    c.lblState->setText(QStringLiteral("接続失敗･･･"));
    c.encryption->showOf(nullptr);
    if (!m_session.runner.isStopWanted())
        m_dialogue->refuse(QStringLiteral("接続失敗"));
}

void frmSql::showState()
{
    c.encryption->showOf(m_session.gCn.get());
    if (m_session.gDsn != noDataSource())
        c.lblState->setText(m_session.gDsn + QStringLiteral(":接続OK"));
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

bool frmSql::isStatementMissing()
{
    if (!c.txtSql->contents().trimmed().isEmpty())
        return false;
    m_dialogue->inform(QStringLiteral("SQL文を入力してください。"));
    return true;
}

void frmSql::cmdExec_Click()
{
    runAlone(c.cmdExec, c.cmdExec->text(), [this] {
        c.txtError->clear();
        if (isStatementMissing())
            return;
        if (mayChange(c.txtSql->contents()) && !mayWrite(m_session, *m_dialogue))
            return;
        m_history.add(trimmedBlanks(c.txtSql->contents()));
        const RunTag tag(m_session.runner, *c.cmdExec);
        setCursor(Qt::WaitCursor);
        c.cmdExec->setEnabled(false);
        c.optRecord[m_resultView]->setChecked(true);
        // The last result is grey until this one's rows come.
        c.flgrid_Record->setEnabled(false);
        c.txtRecord->setEnabled(false);
        m_runTime.start();
        m_runClock->start(100);
        const auto isOver = qScopeGuard([this] {
            c.lblRecordCount->setText(QString::number(m_run.rowCount()));
            c.flgrid_Record->setEnabled(true);
            c.txtRecord->setEnabled(true);
            c.cmdExec->setEnabled(true);
            unsetCursor();
        });
        execute();
    });
}

void frmSql::execute()
{
    ConsoleRun::Result result = ConsoleRun::Result::NoRows;
    const Words failure = failureOf([&] { result = m_run.execute(request()); });
    m_runClock->stop();
    const Effect effect = m_session.gCn ? m_session.gCn->effect() : Effect();
    const bool hasRows = result == ConsoleRun::Result::Rows;
    const QString touched = !failure && !hasRows && effect.rowsTouched >= 0
                                ? QStringLiteral("%1 行を変更しました　").arg(effect.rowsTouched)
                                : QString();
    c.runTime->setText(touched + seconds(m_runTime.elapsed()));
    noteRun(failure, hasRows ? m_run.rowCount() : effect.rowsTouched);
    if (!failure && !hasRows) {
        c.txtError->setPlainText(m_run.note());
        m_dialogue->inform(QStringLiteral("正常終了"));
    } else if (m_session.runner.isStopWanted())
        m_dialogue->inform(interrupted);
    else if (failure)
        showFailure(*failure);

    if (const Words second = failureOf([this] { m_run.keepWhatWasRead(); }))
        showFailure(*second);
}

void frmSql::noteRun(const std::optional<QString> &failure, qint64 rows)
{
    HistoryEntry entry;
    entry.statement = trimmedBlanks(c.txtSql->contents());
    entry.database = m_session.gDbName;
    entry.error = failure.value_or(QString());
    entry.microseconds = m_runTime.nsecsElapsed() / 1000;
    entry.rows = failure ? -1 : rows;
    Q_EMIT ran(entry);
}

void frmSql::showFailure(const QString &description)
{
    const QString words = description + wordsOfComingBack(m_session);
    m_dialogue->refuse(words);
    c.txtError->setPlainText(words);
}

RunRequest frmSql::request() const
{
    return {.statement = withLf(trimmedBlanks(c.txtSql->contents())),
            .delimiter = delimiters[std::max(0, c.cboDelimiter->currentIndex())],
            .isFileOnly = c.ckNoTextNoGrid->isChecked(),
            .savesText = c.ckMemo[0]->isChecked(),
            .opensEditor = c.ckMemo[1]->isChecked()};
}

void frmSql::cmdStop_Click()
{
    m_session.runner.stop();
}

void frmSql::cmdAnalyze_Click()
{
    c.optRecord[2]->setChecked(true);
    runAlone(c.cmdAnalyze, c.cmdAnalyze->text(), [this] {
        if (!isStatementMissing())
            explain(m_session, c.txtSql->contents(), *c.flgrid_ANALYZE);
    });
}

void frmSql::cmdVariable_Click()
{
    m_variables.add();
    cmdVariabl_Click();
}

void frmSql::cmdVariabl_Click()
{
    c.optRecord[3]->setChecked(true);
    runAlone(c.cmdVariabl, c.cmdVariabl->text(), [this] { m_variables.refresh(); });
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

void frmSql::offerWords()
{
    if (!m_completion.hasNames())
        runAlone(c.txtSql, QStringLiteral("入力候補"), [this] {
            // Without names there still are the words of the language; the next request asks again.
            failureOf([this] { m_completion.setNames(readColumnNames(m_session.connection())); });
        });
    m_completion.offer();
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
