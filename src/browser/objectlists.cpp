#include "browser/objectlists.h"

#include "browser/frmTarnwellControls.h"
#include "browser/objects.h"
#include "controls/window/windowpump.h"

#include <QScopeGuard>

namespace {

void enable(std::initializer_list<QWidget *> widgets, bool isOn)
{
    for (QWidget *widget : widgets)
        widget->setEnabled(isOn);
}

QString databaseHint(NextStep step)
{
    switch (step) {
    case NextStep::Connect:
        return QStringLiteral("接続設定を入力して「接続」(Alt+C) を押してください");
    case NextStep::Connecting:
        return QStringLiteral("接続中…");
    case NextStep::ListDatabases:
        return QStringLiteral("「ﾃﾞｰﾀﾍﾞｰｽ表示」(Alt+L) を押すと一覧を表示します");
    default:
        return QStringLiteral("表示できるデータベースがありません。「ﾃﾞｰﾀﾍﾞｰｽ作成」(Alt+N) で作れます");
    }
}

// For the lists of what is in a database. They are silent as long as something else comes first.
QString contentHint(NextStep step, const QString &what)
{
    switch (step) {
    case NextStep::Connect:
    case NextStep::Connecting:
    case NextStep::ListDatabases:
        return {};
    case NextStep::Reading:
        return QStringLiteral("読み込み中…");
    case NextStep::DatabaseChosen:
        return QStringLiteral("このデータベースに%1はありません。「ｸｴﾘ実行」(F9) で作れます").arg(what);
    default:
        return QStringLiteral("データベースを選ぶと、ここに%1が並びます").arg(what);
    }
}

} // namespace

void showNextStep(TarnwellControls &controls, NextStep step)
{
    controls.lstDb->setPlaceholderText(databaseHint(step));
    controls.lstTables->setPlaceholderText(contentHint(step, QStringLiteral("テーブルとビュー")));
    controls.lstProcFunc->setPlaceholderText(contentHint(step, QStringLiteral("ルーチン")));
    const bool mayChooseTable = step == NextStep::DatabaseChosen;
    const auto hint = [](FlexGrid &grid, bool isNext, const QString &text) {
        grid.setPlaceholderText(isNext ? text : QString());
    };
    hint(*controls.flGrid_Field, mayChooseTable, QStringLiteral("テーブルを選ぶと、列を表示します"));
    hint(*controls.flGrid_Index, mayChooseTable, QStringLiteral("テーブルを選ぶと、索引を表示します"));
    hint(*controls.flGrid_Status, mayChooseTable || step == NextStep::ChooseDatabase,
         QStringLiteral("データベースかテーブルを選ぶと、状態を表示します"));
    hint(*controls.flGrid_Data, mayChooseTable,
         QStringLiteral("テーブルを選んで F6 を押すと、行を表示します"));
}

void ObjectLists::resetGrids()
{
    for (FlexGrid *grid :
         {m_controls.flGrid_Field, m_controls.flGrid_Index, m_controls.flGrid_Status, m_controls.flGrid_Data})
        grid->clearGrid();
    m_controls.lblRecordCount->clear();
}

void ObjectLists::cmdShowDb_Click()
{
    TarnwellControls &c = m_controls;
    c.lblPreTable->clear();
    m_session.gDbName.clear();
    c.lblCkTableName->clear();
    c.lstDb->clearItems();
    c.lstTables->clearItems();
    resetGrids();
    c.txtField->setContents({});
    c.lstProcFunc->clearItems();
    enable({c.cmdDropTable, c.cmdCreateTable, c.cmdInOut, c.cmdDataGet}, false);
    sProgressBar(*c.picStatus, 0);

    RecordSet rows = readDatabases(m_session);
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        c.lstDb->appendItem(rows.text(QStringLiteral("database")));
    rows.close();
    showNextStep(c, NextStep::ChooseDatabase);

    enable({c.cmdDropDb, c.cmdExec}, true);
    if (m_session.gIsLocalServer)
        enable({c.cmdBackup, c.cmdRestore}, true);
    enable({c.cmdCheckTable, c.cmdRepairTable, c.cmdOptimizeTable, c.cmdCopyDb, c.cmdScriptBackUp}, true);
}

void ObjectLists::lstDb_Click()
{
    TarnwellControls &c = m_controls;
    const bool isSame = m_session.gDbName == c.lstDb->currentText();
    const int table = isSame ? c.lstTables->topRow() : 0;
    const int routine = isSame ? c.lstProcFunc->topRow() : 0;
    c.lblPreTable->setText(QStringLiteral("0"));
    c.lblTableName->clear();
    c.lblEditName->setText(QStringLiteral("編集????:"));
    c.lblEditProcName->setText(QStringLiteral("編集????:"));
    m_session.gDbName = c.lstDb->currentText();
    if (m_session.gDbName.isEmpty())
        return;
    c.lblCkTableName->setText(m_session.gDbName + QStringLiteral("全ﾃｰﾌﾞﾙ"));
    c.lstTables->clearItems();
    resetGrids();
    c.lstProcFunc->clearItems();
    c.txtField->setContents({});
    c.txtProc->setContents({});
    const QWidget *focused = c.lstTables->window()->focusWidget();
    c.optTP[0]->setChecked(true);
    enable({c.cmdDropTable, c.cmdCreateTable, c.cmdDropProc, c.cmdCreateProc, c.cmdInOut, c.cmdDataGet},
           false);
    // Not on to whatever comes next in the tab order, where a key would start another command.
    if (focused && !(focused->isEnabled() && focused->isVisible()))
        c.lstTables->setFocus();
    sProgressBar(*c.picStatus, 0);

    showNextStep(c, NextStep::Reading);
    auto nothingChosen = qScopeGuard([&c] { showNextStep(c, NextStep::ChooseDatabase); }); // after a failure
    Yield yield;
    readTables(m_session, m_session.gDbName, [&](const ListItem &item) {
        c.lstTables->appendItem(item.text());
        yield();
    });
    readRoutines(m_session, m_session.gDbName, [&](const ListItem &item) {
        c.lstProcFunc->appendItem(item.text());
        yield();
    });
    nothingChosen.dismiss();
    c.lstTables->showFromRow(table);
    c.lstProcFunc->showFromRow(routine);
    showNextStep(c, NextStep::DatabaseChosen);
    fillGrid(*c.flGrid_Status, readStatus(m_session, m_session.gDbName, " ;"));
}
