// How the main window's commands and the choices in its lists are run, and what is read anew behind them.
#include "browser/frmTarnwell.h"
#include "console/frmSql.h"
#include "console/history.h"
#include "core/command/doubt.h"
#include "core/command/writing.h"

#include <QSignalBlocker>

// What a list highlights is what the window shows: a choice that comes while something runs is not dropped.
void frmTarnwell::choose(ChosenList *list)
{
    if (list != m_controls.lstProcFunc && !m_rows.mayLeave())
        return keepShownChoice(list);
    m_session.runner.choose(list, QStringLiteral("一覧の選択"), [this, list] {
        if (list->currentItem()) // else the list was cleared meanwhile
            serveChoice(*list);
    });
}

// The rows that are edited stay, and so does what the list highlights.
void frmTarnwell::keepShownChoice(ChosenList *list)
{
    const QSignalBlocker blocker(list);
    for (int row = 0; row < list->count(); ++row) {
        const QString item = list->item(row)->text();
        if (list == m_controls.lstDb ? item == m_rows.database()
                                     : ListItem::parse(item).name == m_rows.table())
            list->setCurrentRow(row);
    }
}

void frmTarnwell::serveChoice(const ChosenList &list)
{
    m_dialogue.setLastError({}, true);
    const bool hasKept = keepEdits(&list != m_controls.lstProcFunc, &list != m_controls.lstTables);
    tellingFailure(m_session, m_dialogue, [&] {
        const BusyPointer busy(m_dialogue);
        if (&list == m_controls.lstDb)
            m_lists.lstDb_Click();
        else if (&list == m_controls.lstTables)
            m_detail.lstTables_Click();
        else
            m_detail.lstProcFunc_Click();
    });
    showSurroundings();
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

void frmTarnwell::runAlone(const QObject *control, const QString &what, const Runner::Action &action)
{
    m_session.runner.run(control, what, [&] { tellingFailure(m_session, m_dialogue, action); });
}

void frmTarnwell::run(const Command &command)
{
    if (m_session.runner.isRunning() || !m_rows.mayLeave())
        return;
    Outcome outcome;
    const Selection chosen = selection();
    m_dialogue.setLastError({}, true);
    runAlone(this, command.title.toString(), [&] {
        if (command.writes && !mayWrite(m_session, m_dialogue))
            return;
        CommandContext context{m_session, chosen, m_dialogue};
        outcome = command.run(context);
        if (const QString notes = m_session.runner.notes();
            !notes.isEmpty() && m_controls.txtError->toPlainText().isEmpty())
            m_dialogue.setLastError(notes, false);
    });
    m_panel.showRole(); // it was asked again where it stands against writing
    reload(outcome.reload);
}

void frmTarnwell::reload(Reload what)
{
    if (what == Reload::Nothing)
        return;
    keepEdits(what != Reload::OwnRoutineText, what != Reload::OwnTableText);
    runAlone(m_controls.lstDb, QStringLiteral("一覧の読み込み"), [this, what] {
        const BusyPointer busy(m_dialogue);
        if (what == Reload::Databases)
            m_lists.cmdShowDb_Click();
        else if (what == Reload::Objects)
            m_lists.lstDb_Click();
        else if (what == Reload::OwnTableText)
            m_detail.showOwnTable();
        else
            m_detail.showOwnRoutine();
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
