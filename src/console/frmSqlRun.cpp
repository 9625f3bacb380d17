// The run of one statement in the console, from the click to its end.
#include "console/frmSql.h"
#include "controls/stopping.h"
#include "core/statements.h"

#include <new>
#include <optional>

namespace {

const QString interrupted = QStringLiteral("処理を中断しました");
constexpr char delimiters[] = {' ', '\t', '|', ',', ':', ';'}; // in the order of cboDelimiter

// What went wrong, if anything did.
using Failure = std::optional<QString>;

Failure failureOf(const std::function<void()> &work)
{
    try {
        work();
        return {};
    } catch (const SqlError &error) {
        return error.description();
    } catch (const std::bad_alloc &) {
        return QStringLiteral("メモリが不足しています。");
    }
}

} // namespace

// What the window shows while a statement runs.
class frmSql::RunningState {
public:
    explicit RunningState(frmSql &window)
        : m_window(window)
        , m_tag(window.m_session.runner, *window.c.cmdExec)
    {
        m_window.setCursor(Qt::WaitCursor);
        m_window.c.cmdExec->setEnabled(false);
    }
    ~RunningState()
    {
        m_window.c.lblRecordCount->setText(QString::number(m_window.m_run.rowCount()));
        m_window.c.cmdExec->setEnabled(true);
        m_window.unsetCursor();
    }
    RunningState(const RunningState &) = delete;
    RunningState &operator=(const RunningState &) = delete;

private:
    frmSql &m_window;
    const RunTag m_tag;
};

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
        m_history.add(trimmedBlanks(c.txtSql->contents()));
        const RunningState running(*this);
        execute();
    });
}

void frmSql::execute()
{
    ConsoleRun::Result result = ConsoleRun::Result::NoRows;
    const Failure failure = failureOf([&] { result = m_run.execute(request()); });
    if (!failure && result == ConsoleRun::Result::NoRows) {
        c.txtError->setPlainText(m_run.note());
        m_dialogue->inform(QStringLiteral("正常終了"));
    } else if (m_session.runner.isStopWanted())
        m_dialogue->inform(interrupted);
    else if (failure)
        showFailure(*failure);

    if (const Failure second = failureOf([this] { m_run.keepWhatWasRead(); }))
        showFailure(*second);
}

void frmSql::showFailure(const QString &description)
{
    m_dialogue->refuse(description);
    c.txtError->setPlainText(description);
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
