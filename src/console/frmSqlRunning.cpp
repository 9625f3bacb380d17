// What the console runs on the server.
#include "console/explain.h"
#include "console/frmSql.h"
#include "controls/window/stopping.h"
#include "core/command/columnnames.h"
#include "core/command/doubt.h"
#include "core/command/writing.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"

#include <QScopeGuard>
#include <QTimer>

#include <new>
#include <optional>

namespace {

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
    if (!failure)
        showState(); // the connection may have come back only now
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

void frmSql::showRunTime()
{
    c.runTime->setText(seconds(m_runTime.elapsed()));
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
