// What the main window carries out, one thing at a time.
#include "browser/frmTarnwell.h"
#include "console/frmSql.h"
#include "console/history.h"

#include <QScopeGuard>
#include <QTimer>

#include <utility>

// What a list highlights is what the window shows: a choice that comes while a command runs is not dropped.
void frmTarnwell::choose(ChosenList *list)
{
    const bool isOneAwaited = m_choice != nullptr;
    // The objects of a database that is about to be left need not be shown.
    if (m_choice != m_controls.lstDb)
        m_choice = list;
    if (!isOneAwaited)
        serveChoice();
}

void frmTarnwell::serveChoice()
{
    if (m_wish == Wish::Nothing && isOccupied()) {
        QTimer::singleShot(20, this, &frmTarnwell::serveChoice);
        return;
    }
    const ChosenList *list = std::exchange(m_choice, nullptr);
    if (!list->currentItem())
        return; // the list was cleared meanwhile
    m_dialogue.setLastError({}, true);
    const bool hasKept = keepEdits(list != m_controls.lstProcFunc, list != m_controls.lstTables);
    if (list == m_controls.lstDb)
        reload(Reload::Objects);
    else if (list == m_controls.lstTables)
        readAlone([this] { m_detail.lstTables_Click(); });
    else
        readAlone([this] { m_detail.lstProcFunc_Click(); });
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

bool frmTarnwell::isOccupied() const
{
    return m_session.isCommandRunning || (m_session.gCn && m_session.gCn->isBusy());
}

void frmTarnwell::runAlone(const std::function<void()> &action)
{
    // A wish that waits for the running command wants no other one behind it.
    if (isOccupied() || m_wish != Wish::Nothing)
        return;
    try {
        m_session.isCommandRunning = true;
        const auto isOver = qScopeGuard([this] { m_session.isCommandRunning = false; });
        action();
    } catch (const SqlError &error) {
        // A disconnect that the user asked for in the middle needs no report.
        if (m_wish == Wish::Nothing) {
            m_dialogue.setLastError(error.description(), false);
            m_dialogue.refuse(error.description());
        }
    }
}

void frmTarnwell::readAlone(const std::function<void()> &action)
{
    runAlone([&] {
        const BusyPointer busy(m_dialogue);
        action();
    });
}

void frmTarnwell::run(const Command &command)
{
    Outcome outcome;
    const Selection chosen = selection();
    if (m_session.isCommandRunning)
        return;
    m_dialogue.setLastError({}, true);
    runAlone([&] {
        CommandContext context{m_session, chosen, m_dialogue};
        outcome = command.run(context);
    });
    reload(outcome.reload);
}

void frmTarnwell::reload(Reload what)
{
    if (what != Reload::Nothing)
        keepEdits(true, true);
    if (what == Reload::Databases)
        readAlone([this] { m_lists.cmdShowDb_Click(); });
    else if (what == Reload::Objects)
        readAlone([this] { m_lists.lstDb_Click(); });
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
