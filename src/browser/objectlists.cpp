#include "browser/objectlists.h"

#include "browser/frmTarnwellControls.h"
#include "controls/window/windowpump.h"
#include "core/command/definition.h"
#include "core/sql/listitem.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"

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

// For the lists of what is in a database.
QString contentHint(NextStep step, const QString &what)
{
    switch (step) {
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
}

QString objectTag(Connection &connection, const QString &database, const QString &name)
{
    try {
        // The server would answer for another object, and every command after it would act on that one.
        requireOwnName(database, name);
        const QString kind = readDefinition(connection, showCreateTable(qualifiedName(database, name))).kind;
        if (kind.isEmpty())
            return {};
        return kind == u"Table" ? QStringLiteral("[TABLE]") : QStringLiteral("[VIEW]");
    } catch (const Failure &error) {
        // A lost or stopped connection says nothing about the object.
        if (error.isConnectionLost() || error.isInterrupted())
            throw;
        return QStringLiteral("[ERROR]");
    }
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

    RecordSet rows = m_session.connection().execute(QStringLiteral("show databases;"));
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
    listTables();
    // The two differ in their ends on purpose.
    listRoutines(QStringLiteral("show procedure status ;"), QStringLiteral("[PROC]"));
    listRoutines(QStringLiteral("show function status"), QStringLiteral("[FUNC]"));
    nothingChosen.dismiss();
    c.lstTables->showFromRow(table);
    c.lstProcFunc->showFromRow(routine);
    showNextStep(c, NextStep::DatabaseChosen);
    showStatus();
}

void ObjectLists::listTables()
{
    const QString database = m_session.gDbName;
    requireOwnDatabase(database);
    RecordSet rows = m_session.connection().execute(QStringLiteral("show tables from `%1`;").arg(database));
    Yield yield;
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        const QString name = rows.text(QStringLiteral("Tables_in_") + database);
        const QString tag = objectTag(m_session.connection(), database, name);
        if (!tag.isEmpty())
            m_controls.lstTables->appendItem(ListItem{tag, name}.text());
        yield();
        m_session.requireGoingOn();
    }
}

void ObjectLists::listRoutines(const QString &statement, const QString &tag)
{
    const QString database = m_session.gDbName;
    try {
        RecordSet rows = m_session.connection().execute(statement);
        Yield yield;
        for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
            if (rows.text(QStringLiteral("db")) == database)
                m_controls.lstProcFunc->appendItem(ListItem{tag, rows.text(QStringLiteral("Name"))}.text());
            yield();
        }
    } catch (const Failure &error) {
        // Servers without routines, or without the right to see them, list none.
        if (error.isConnectionLost() || error.isInterrupted())
            throw;
    }
}

void ObjectLists::showStatus()
{
    fillGrid(*m_controls.flGrid_Status,
             m_session.connection().execute(
                 QStringLiteral("show table status from `%1` ;").arg(m_session.gDbName)));
}
