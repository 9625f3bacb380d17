#pragma once

#include "console/consoledraft.h"
#include "console/frmSqlControls.h"
#include "console/history.h"
#include "console/run.h"
#include "console/uservariables.h"
#include "controls/text/wordcompletion.h"
#include "core/command/dialogue.h"
#include "core/session/historystore.h"
#include "core/session/session.h"

#include <QElapsedTimer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class FontScaling;
class QTimer;

// The SQL console: one statement, its result as grid, text and file, its plan, and the user variables.
// A window of its own beside the main window; deletes itself when it is closed.
class frmSql : public QWidget {
    Q_OBJECT

public:
    // connect: replaces the session's connection by one to the chosen database, true when it is open.
    // dialogue: who answers in a test; null: real boxes.
    frmSql(Session &session, std::function<bool()> connect, std::unique_ptr<Dialogue> dialogue = nullptr);
    ~frmSql() override;

    // As History::add().
    bool remember(const QString &text) { return m_history.add(text); }
    // Puts a statement into the box; what stood there comes back by undo.
    void propose(const QString &statement) { c.txtSql->replaceContents(statement); }
    // The connection that the console named is gone.
    void showDisconnected();

Q_SIGNALS:
    // For the history: statement, database, time and rows, or the error.
    void ran(const HistoryEntry &entry);

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void Form_Load();
    void Form_Activate();
    void Form_Unload();
    void cmdExec_Click();
    void cmdStop_Click();
    void cmdAnalyze_Click();
    void cmdVariable_Click();
    void cmdVariabl_Click();
    void cmdFolder_Click();
    void cmdEditer_Click();
    void ckNoTextNoGrid_Click();
    void optFont_Click();

    void connectControls();
    void addKeys();
    void showView();
    void showState();
    void chooseDelimiter();
    // As the one thing that runs, with the stop button enabled.
    void runAlone(QWidget *control, const QString &what, const Runner::Action &action);
    void withStop(const Runner::Action &action);
    void reconnect();
    void execute();
    void showRunTime();
    void noteRun(const std::optional<QString> &failure, qint64 rows);
    void showFailure(const QString &description);
    RunRequest request() const;
    bool isStatementMissing();
    void offerWords();
    void showHistory(const QString &statement);

    Session &m_session;
    std::function<bool()> m_connect;
    std::unique_ptr<Dialogue> m_dialogue;
    SqlControls c;
    UserVariables m_variables;
    ConsoleRun m_run;
    WordCompletion m_completion;
    History m_history;
    ConsoleDraft m_draft;
    FontScaling *m_fonts;
    bool m_isLoaded = false;
    std::size_t m_resultView = 1; // of optRecord: text or grid, as it was last looked at
    QElapsedTimer m_runTime;
    QTimer *m_runClock;
};
