#include "browser/dataviewer.h"

#include "browser/frmTarnwellControls.h"
#include "controls/windowpump.h"
#include "core/listitem.h"
#include "core/sql/names.h"
#include "core/statements.h"

namespace {

const QString stopped = QStringLiteral("処理を中断しました");

} // namespace

DataViewer::DataViewer(Session &session, TarnwellControls &controls, Dialogue &dialogue)
    : m_session(session)
    , m_controls(controls)
    , m_dialogue(dialogue)
{
    m_controls.cmdDataGet->setProperty("tag", QStringLiteral("false"));
}

bool DataViewer::isRunning() const
{
    return m_controls.cmdDataGet->property("tag").toString().compare(u"true", Qt::CaseInsensitive) == 0;
}

void DataViewer::setRunning(bool isRunning)
{
    m_controls.cmdDataGet->setProperty("tag", isRunning ? QStringLiteral("True") : QStringLiteral("False"));
}

void DataViewer::stop()
{
    setRunning(false);
    if (m_session.gCn && m_session.gCn->isBusy())
        m_session.gCn->cancel();
}

void DataViewer::cmdDataGet_Click()
{
    if (isRunning()) {
        stop();
        return;
    }
    TarnwellControls &c = m_controls;
    m_dialogue.setLastError({}, false);
    c.cmdDataGet->setText(QStringLiteral("停止"));
    setRunning(true);
    setStopsRunningCommand(c.cmdDataGet, true, Qt::Key_F6);
    {
        const BusyPointer busy(m_dialogue);
        const RedrawOff redrawOff(*c.flGrid_Data);
        read();
        c.lblRecordCount->setText(QString::number(c.flGrid_Data->rowCount()));
    }
    setRunning(false);
    setStopsRunningCommand(c.cmdDataGet, false);
    c.cmdDataGet->setText(QStringLiteral("ﾃﾞｰﾀ表示"));
}

void DataViewer::read()
{
    try {
        const QString name = ListItem::required(m_controls.lstTables->currentText()).name;
        if (m_controls.cboLimit->currentIndex() < 0)
            throw SqlError(QStringLiteral("行数の上限が選択されていません。"));
        requireOwnName(m_session.gDbName, name);
        RecordSet rows = m_session.connection().execute(
            QStringLiteral("select * from ") + qualifiedName(m_session.gDbName, name) +
            QStringLiteral(" limit ") + m_controls.cboLimit->currentData().toString() + QStringLiteral(" ;"));
        m_controls.flGrid_Data->setTableName(name);
        readRows(rows);
        if (!isRunning())
            m_dialogue.inform(stopped);
    } catch (const SqlError &error) {
        if (!isRunning()) {
            m_dialogue.inform(stopped);
            return;
        }
        m_dialogue.setLastError(error.description(), false);
        m_dialogue.refuse(error.description());
    }
}

void DataViewer::readRows(RecordSet &rows)
{
    FlexGrid &grid = *m_controls.flGrid_Data;
    grid.clearGrid();
    if (!rows.isOpen())
        return;
    grid.setFields(rows.fields());
    Yield yield;
    for (; isRunning() && !rows.isEof(); rows.moveNext()) {
        grid.appendRow(rows.cells());
        if (yield.isDue()) {
            m_controls.lblRecordCount->setText(QString::number(grid.rowCount()));
            yield();
        }
    }
}
