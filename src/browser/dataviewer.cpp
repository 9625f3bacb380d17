#include "browser/dataviewer.h"

#include "browser/frmTarnwellControls.h"
#include "controls/grid/columnwidths.h"
#include "controls/window/stopping.h"
#include "controls/window/windowpump.h"
#include "core/command/doubt.h"
#include "core/sql/listitem.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"
#include "rows/rowsview.h"

namespace {

const QString stopped = QStringLiteral("処理を中断しました");

} // namespace

DataViewer::DataViewer(Session &session, TarnwellControls &controls, Dialogue &dialogue, RowsView &rows)
    : m_session(session)
    , m_controls(controls)
    , m_dialogue(dialogue)
    , m_rows(rows)
{
    m_controls.cmdDataGet->setProperty("tag", QStringLiteral("false"));
}

DataViewer::~DataViewer() = default;

void DataViewer::cmdDataGet_Click()
{
    TarnwellControls &c = m_controls;
    m_dialogue.setLastError({}, false);
    c.cmdDataGet->setText(QStringLiteral("停止"));
    const RunTag tag(m_session.runner, *c.cmdDataGet);
    setStopsRunningCommand(c.cmdDataGet, true, Qt::Key_F6);
    {
        const BusyPointer busy(m_dialogue);
        const RedrawOff redrawOff(*c.flGrid_Data);
        read();
        c.lblRecordCount->setText(QString::number(c.flGrid_Data->rowCount()));
    }
    showWidths(); // the grid has its own once it is drawn
    setStopsRunningCommand(c.cmdDataGet, false);
    c.cmdDataGet->setText(QStringLiteral("ﾃﾞｰﾀ表示"));
}

void DataViewer::read()
{
    try {
        const QString name = ListItem::required(m_controls.lstTables->currentText()).name;
        if (m_controls.cboLimit->currentIndex() < 0)
            throw Failure(QStringLiteral("行数の上限が選択されていません。"));
        requireOwnName(m_session.gDbName, name);
        const int limit = m_controls.cboLimit->currentData().toInt();
        const QString plain = QStringLiteral("select * from %1 limit %2 ;")
                                  .arg(qualifiedName(m_session.gDbName, name))
                                  .arg(limit);
        const QString statement = m_rows.statementFor(m_session.gDbName, name, limit, plain);
        if (statement != plain) // a condition may name other tables of the database
            m_session.connection().execute(useStatement(m_session.gDbName));
        RecordSet rows = m_session.connection().execute(statement);
        m_controls.flGrid_Data->setTableName(name);
        readRows(rows);
        // Whoever wants all rows wants no limit; a filter and its page are kept as they are.
        m_controls.flGrid_Data->setStatement(statement == plain ? QStringLiteral("select * from ") +
                                                                      qualifiedName(m_session.gDbName, name)
                                                                : statement);
        m_rows.takeRows();
    } catch (const Failure &error) {
        if (m_session.runner.isStopWanted()) {
            m_dialogue.inform(stopped);
            return;
        }
        const QString words = error.description() + wordsOfComingBack(m_session);
        m_dialogue.setLastError(words, false);
        m_dialogue.refuse(words);
    }
}

void DataViewer::showWidths()
{
    if (!m_widths)
        m_widths = std::make_unique<ColumnWidths>(
            *m_controls.flGrid_Data,
            (m_session.settingsFolder.isEmpty() ? m_session.programFolder : m_session.settingsFolder) +
                QStringLiteral("/columns.json"));
    m_widths->show(m_session.gDbName + u'.' + ListItem::parse(m_controls.lstTables->currentText()).name);
}

void DataViewer::readRows(RecordSet &rows)
{
    FlexGrid &grid = *m_controls.flGrid_Data;
    grid.setFields(rows.fields());
    if (!rows.isOpen())
        return;
    Yield yield;
    for (; !rows.isEof(); rows.moveNextBlock()) {
        grid.appendBlock(rows.takeBlock());
        if (yield.isDue()) {
            m_controls.lblRecordCount->setText(QString::number(grid.rowCount()));
            yield();
        }
        m_session.requireGoingOn();
    }
}
