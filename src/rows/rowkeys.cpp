#include "rows/rowkeys.h"

#include "rows/rowgrid.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>

RowKeys::RowKeys(RowGrid &rows)
    : QObject(&rows)
    , m_rows(rows)
{
}

bool RowKeys::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || !m_rows.isBegun())
        return QObject::eventFilter(watched, event);
    // A line that edits a cell passes on what it has no use for, Enter too, which would open the cell's
    // window.
    FlexGrid &grid = m_rows.grid();
    if (QApplication::focusWidget() != &grid && grid.viewport()->isAncestorOf(QApplication::focusWidget()))
        return true;
    const auto *key = static_cast<QKeyEvent *>(event);
    const bool hasControl = key->modifiers() == Qt::ControlModifier;
    if (key->key() == Qt::Key_F2)
        m_rows.editCell(grid.currentIndex());
    else if (!m_rows.mayWrite())
        return false;
    else if (key->key() == Qt::Key_Insert && hasControl)
        m_rows.addRow();
    else if (key->key() == Qt::Key_D && hasControl)
        m_rows.duplicateRow();
    else if (key->key() == Qt::Key_0 && hasControl)
        m_rows.setNull();
    else if (key->key() == Qt::Key_Delete && key->modifiers() == Qt::NoModifier)
        m_rows.deleteRows();
    else if (key->matches(QKeySequence::Paste))
        m_rows.paste(QApplication::clipboard()->text());
    else
        return false;
    return true;
}
