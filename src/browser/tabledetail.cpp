#include "browser/tabledetail.h"

#include "browser/frmTarnwellControls.h"
#include "browser/objects.h"
#include "core/command/definition.h"
#include "core/sql/listitem.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"
#include "maintenance/routines.h"

namespace {

// Of one row of "show full fields"; members are filled by columns of exactly their name.
FieldRec fieldRecord(const std::vector<Field> &fields, std::span<const Cell> row)
{
    FieldRec record;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const QString &name = fields[i].name;
        const Cell &cell = row[i];
        const QString value = QString::fromUtf8(cell.bytes.data(), static_cast<qsizetype>(cell.bytes.size()));
        if (name == u"Field")
            record.Field = u' ' + value;
        else if (name == u"Type")
            record.Type = u' ' + value;
        else if (name == u"Null")
            record.Null = value == u"YES" ? QStringLiteral(" ") : QStringLiteral(" not null");
        else if (name == u"Key")
            record.Key = value;
        else if (name == u"Default")
            record.Default = cell.isNull ? QStringLiteral(" DEFAULT NULL") : QStringLiteral(" DEFAULT");
        else if (name == u"Privileges")
            record.Privileges = u' ' + value;
    }
    return record;
}

QString editedText(const SqlTextBox &editor, const QLabel &shown)
{
    const QString text = editor.contents();
    return text == shown.text() ? QString() : trimmedBlanks(text);
}

} // namespace

void TableDetail::lstTables_Click()
{
    TarnwellControls &c = m_controls;
    c.optTP[0]->setChecked(true);
    c.lblPreTable->setText(QStringLiteral("1"));
    const QString name = ListItem::required(c.lstTables->currentText()).name;
    if (c.lstDb->currentText().isEmpty())
        return;
    c.lblCkTableName->setText(name);
    m_session.gOldFields.assign(1, {});
    c.txtField->setContents({});
    for (FlexGrid *grid : {c.flGrid_Field, c.flGrid_Index, c.flGrid_Status, c.flGrid_Data})
        grid->clearGrid();
    c.lblRecordCount->clear();
    sProgressBar(*c.picStatus, 0);

    try {
        requireOwnName(m_session.gDbName, name);
        showFields(name);
        showCreateText(name);
        showStatus(name);
    } catch (const Failure &) {
        // Nothing else can be done with it, but it must stay possible to drop it. Untrimmed: " a" is not "a".
        c.lblTableName->setText(name);
        c.cmdDropTable->setEnabled(true);
        for (QWidget *command : {c.cmdCreateTable, c.cmdInOut, c.cmdDataGet})
            command->setEnabled(false);
        throw;
    }
    c.lblTableName->setText(trimmedBlanks(name));
    c.cmdDropTable->setEnabled(true);
    c.cmdCreateTable->setEnabled(true);
    c.cmdInOut->setEnabled(m_session.gIsLocalServer);
    c.cmdDataGet->setEnabled(true);
    sIndex_show();
}

void TableDetail::showFields(const QString &name)
{
    const RedrawOff redrawOff(*m_controls.flGrid_Field);
    RecordSet rows = readColumns(m_session, m_session.gDbName, name);
    if (!rows.isOpen())
        return;
    m_controls.flGrid_Field->setFields(rows.fields());
    std::vector<Cell> shown;
    for (; !rows.isEof(); rows.moveNext()) {
        shown.assign(rows.cells().begin(), rows.cells().end());
        m_session.gOldFields.push_back(fieldRecord(rows.fields(), shown));
        for (Cell &cell : shown)
            cell.isNull = false; // this grid shows a NULL as nothing
        m_controls.flGrid_Field->appendRow(shown);
    }
}

void TableDetail::showCreateText(const QString &name)
{
    const ObjectDefinition definition =
        readDefinition(m_session.connection(), showTableStatement(m_session.gDbName, name));
    const QString text =
        definition.text.isEmpty() ? QString() : shownCreateText(definition.kind, definition.text);
    if (definition.kind == u"Table")
        m_controls.lblEditName->setText(QStringLiteral("編集ﾃｰﾌﾞﾙ:"));
    else if (definition.kind == u"View")
        m_controls.lblEditName->setText(QStringLiteral("編集VIEW:"));
    m_controls.txtField->setContents(text);
    m_controls.lblCreateTable->setText(text);
}

void TableDetail::showOwnTable()
{
    showOwn(showTableStatement(m_session.gDbName, m_controls.lblTableName->text()),
            *m_controls.lblCreateTable, *m_controls.txtField);
}

void TableDetail::showOwnRoutine()
{
    const ListItem item = ListItem::required(m_controls.lstProcFunc->currentText());
    showOwn(routineShowStatement(item.tag, m_controls.lstDb->currentText(), item.name),
            *m_controls.lblCreateProc, *m_controls.txtProc);
}

void TableDetail::showOwn(const QString &showStatement, QLabel &shown, SqlTextBox &editor)
{
    if (shown.text().isEmpty())
        return; // none is shown
    const QString text = withCrLf(readDefinition(m_session.connection(), showStatement).text);
    if (text.isEmpty())
        return;
    editor.setContents(text);
    shown.setText(text);
}

void TableDetail::showStatus(const QString &name)
{
    FlexGrid &grid = *m_controls.flGrid_Status;
    const RedrawOff redrawOff(grid);
    RecordSet rows = readStatus(m_session, m_session.gDbName, ";");
    if (!rows.isOpen())
        return;
    grid.setFields(rows.fields());
    for (; !rows.isEof(); rows.moveNext())
        if (rows.text(QStringLiteral("Name")) == name)
            grid.appendRow(rows.cells());
}

void TableDetail::sIndex_show()
{
    fillGrid(*m_controls.flGrid_Index,
             readIndexes(m_session, m_session.gDbName, m_controls.lblTableName->text()));
}

void TableDetail::optField_Click(int index)
{
    TarnwellControls &c = m_controls;
    c.txtField->setVisible(index == 0);
    c.fieldView->setVisible(index == 1);
    c.flGrid_Status->setVisible(index == 2);
    c.flGrid_Data->setVisible(index == 3);
    c.lblRecordCount->setVisible(index == 3);
}

void TableDetail::lstProcFunc_Click()
{
    TarnwellControls &c = m_controls;
    c.optTP[1]->setChecked(true);
    const ListItem item = ListItem::required(c.lstProcFunc->currentText());
    const bool isProcedure = item.tag == u"[PROC]";
    const QString database = c.lstDb->currentText();
    if (database.isEmpty())
        return;
    c.lblEditProcName->setText(isProcedure ? QStringLiteral("編集Proc：") : QStringLiteral("編集Func："));
    c.lblProcName->setText(item.name);
    requireOwnName(database, item.name);
    // Empty where this account may not read the definition.
    const QString text = shownRoutineText(
        readDefinition(m_session.connection(), routineShowStatement(item.tag, database, item.name)).text);
    c.lblCreateProc->setText(text);
    c.txtProc->setContents(text);
    if (!text.isEmpty()) {
        c.cmdDropProc->setEnabled(true);
        c.cmdCreateProc->setEnabled(true);
    }
}

QString TableDetail::editedTable() const
{
    return editedText(*m_controls.txtField, *m_controls.lblCreateTable);
}

QString TableDetail::editedRoutine() const
{
    return editedText(*m_controls.txtProc, *m_controls.lblCreateProc);
}
