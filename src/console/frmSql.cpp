#include "console/frmSql.h"

#include "console/explain.h"
#include "console/frmTextEditer.h"
#include "controls/fontscaling.h"
#include "controls/stopping.h"
#include "controls/widgetdialogue.h"
#include "controls/windowsize.h"
#include "core/basconnection.h"
#include "core/statements.h"

#include <QCloseEvent>
#include <QFocusEvent>
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

// The stop button is enabled for as long as it lives.
class StopOffered {
public:
    explicit StopOffered(QPushButton &button)
        : m_button(button)
    {
        m_button.setEnabled(true);
    }
    ~StopOffered() { m_button.setEnabled(false); }
    StopOffered(const StopOffered &) = delete;
    StopOffered &operator=(const StopOffered &) = delete;

private:
    QPushButton &m_button;
};

} // namespace

frmSql::frmSql(Session &session, std::function<bool()> connect, std::unique_ptr<Dialogue> dialogue)
    : m_session(session)
    , m_connect(std::move(connect))
    , m_dialogue(dialogue ? std::move(dialogue) : std::make_unique<WidgetDialogue>(this, DialogueParts{}))
    , c(this)
    , m_variables(session, *c.lstVariablename, *c.lstVariable, *c.txtVariablename)
    , m_run(session, {*c.flgrid_Record, *c.txtRecord,
                      [this](qint64 count) { c.lblRecordCount->setText(QString::number(count)); }})
    , m_completion(session, *c.txtSql)
    , m_history(historyFile(session))
    , m_fonts(new FontScaling(this))
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
            reconnect();
    });
}

void frmSql::runAlone(QWidget *control, const QString &what, const Runner::Action &action)
{
    m_session.runner.run(control, what, [&] {
        const StopOffered stop(*c.cmdStop);
        action();
    });
}

void frmSql::reconnect()
{
    const StopOffered stop(*c.cmdStop);
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
    for (std::size_t i = 0; i < views.size(); ++i)
        views[i]->setVisible(c.optRecord[i]->isChecked());
}

void frmSql::offerWords()
{
    if (!m_completion.hasNames())
        runAlone(c.txtSql, QStringLiteral("入力候補"), [this] { m_completion.readNames(); });
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
