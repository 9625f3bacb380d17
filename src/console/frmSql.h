#pragma once

#include "console/frmSqlControls.h"
#include "console/history.h"
#include "console/run.h"
#include "console/uservariables.h"
#include "console/wordcompletion.h"
#include "core/dialogue.h"
#include "core/session.h"

#include <QWidget>

#include <functional>
#include <memory>

class FontScaling;

// The SQL console: one statement, its result as grid, text and file, its plan, and the user variables.
// A window of its own beside the main window; deletes itself when it is closed.
class frmSql : public QWidget {
    Q_OBJECT

public:
    // connect: replaces the session's connection by one to the chosen database, true when it is open.
    // dialogue: who answers in a test; null: real boxes.
    frmSql(Session &session, std::function<bool()> connect, std::unique_ptr<Dialogue> dialogue = nullptr);
    ~frmSql() override;

    // The tag of cmdExec: a statement runs.
    bool isRunning() const;
    // Nothing on the stack uses the window: close() works.
    bool isIdle() const { return m_operations == 0; }
    // Ends a running statement, as the stop button does; what the main window's disconnect button calls.
    void cmdStop_Click();
    // close() that works while the console waits for the server or reads rows, too: ends that first.
    // The window is gone when unloaded() comes, at once or later.
    void closeWhenIdle();
    // As History::add().
    bool remember(const QString &text) { return m_history.add(text); }
    // Puts a statement into the box; what stood there comes back by undo.
    void propose(const QString &statement) { c.txtSql->replaceContents(statement); }
    // The connection that the console named is gone.
    void showDisconnected();

Q_SIGNALS:
    void unloaded();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    class Operation;
    class RunningState;

    void Form_Load();
    void Form_Activate();
    void Form_Unload();
    void cmdExec_Click();
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
    void execute();
    void showFailure(const QString &description);
    RunRequest request() const;
    bool isStatementMissing();
    void setRunFlag(bool isOn);
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
    FontScaling *m_fonts;
    int m_operations = 0; // that are on the stack and use this window
    bool m_closesWhenIdle = false;
    bool m_isLoaded = false;
};
