// What the main window carries out, one thing at a time.
#include "browser/frmTarnwell.h"
#include "console/frmSql.h"
#include "console/history.h"

// What a list highlights is what the window shows: a choice that comes while something runs is not dropped.
void frmTarnwell::choose(ChosenList *list)
{
    m_session.runner.choose(list, QStringLiteral("一覧の選択"), [this, list] {
        if (list->currentItem()) // else the list was cleared meanwhile
            serveChoice(*list);
    });
}

void frmTarnwell::serveChoice(const ChosenList &list)
{
    m_dialogue.setLastError({}, true);
    const bool hasKept = keepEdits(&list != m_controls.lstProcFunc, &list != m_controls.lstTables);
    guarded([&] {
        const BusyPointer busy(m_dialogue);
        if (&list == m_controls.lstDb)
            m_lists.lstDb_Click();
        else if (&list == m_controls.lstTables)
            m_detail.lstTables_Click();
        else
            m_detail.lstProcFunc_Click();
    });
    if (hasKept && m_controls.txtError->toPlainText().isEmpty())
        m_dialogue.setLastError(
            QStringLiteral("編集していた定義は、変更していません。ｸｴﾘ実行の履歴 (Alt+↑) に残しました。"),
            false);
}

bool frmTarnwell::keepEdits(bool ofTable, bool ofRoutine)
{
    bool hasKept = false;
    for (const QString &text :
         {ofTable ? m_detail.editedTable() : QString(), ofRoutine ? m_detail.editedRoutine() : QString()}) {
        if (text.trimmed().isEmpty())
            continue;
        hasKept |= m_console ? m_console->remember(text) : History(historyFile(m_session)).add(text);
    }
    return hasKept;
}

void frmTarnwell::guarded(const Runner::Action &action)
{
    try {
        action();
    } catch (const SqlError &error) {
        // What the user has stopped needs no box.
        m_dialogue.setLastError(error.description(), false);
        if (!m_session.runner.isStopWanted())
            m_dialogue.refuse(error.description());
    }
}

void frmTarnwell::runAlone(const QObject *control, const QString &what, const Runner::Action &action)
{
    m_session.runner.run(control, what, [&] { guarded(action); });
}

void frmTarnwell::run(const Command &command)
{
    if (m_session.runner.isRunning())
        return;
    const auto *button = findChild<QPushButton *>(QLatin1String(command.control));
    Outcome outcome;
    const Selection chosen = selection();
    m_dialogue.setLastError({}, true);
    runAlone(button, button->text(), [&] {
        CommandContext context{m_session, chosen, m_dialogue};
        outcome = command.run(context);
        if (const QString notes = m_session.runner.notes();
            !notes.isEmpty() && m_controls.txtError->toPlainText().isEmpty())
            m_dialogue.setLastError(notes, false);
    });
    reload(outcome.reload);
}

void frmTarnwell::reload(Reload what)
{
    if (what == Reload::Nothing)
        return;
    keepEdits(true, true);
    runAlone(m_controls.lstDb, QStringLiteral("一覧の読み込み"), [this, what] {
        const BusyPointer busy(m_dialogue);
        if (what == Reload::Databases)
            m_lists.cmdShowDb_Click();
        else
            m_lists.lstDb_Click();
    });
}

Selection frmTarnwell::selection() const
{
    const TarnwellControls &c = m_controls;
    Selection chosen;
    chosen.database = c.lstDb->currentText();
    chosen.tables = c.lstTables->texts();
    chosen.table = c.lstTables->currentText();
    chosen.routines = c.lstProcFunc->texts();
    chosen.routine = c.lstProcFunc->currentText();
    chosen.lblPreTable = c.lblPreTable->text();
    chosen.lblTableName = c.lblTableName->text();
    chosen.lblCreateTable = c.lblCreateTable->text();
    chosen.lblCreateProc = c.lblCreateProc->text();
    chosen.txtField = c.txtField->contents();
    chosen.txtProc = c.txtProc->contents();
    return chosen;
}
