#include "rows/rowsmenu.h"

#include "core/sql/statements.h"
#include "rows/rowsview.h"

#include <QMenu>

#include <algorithm>

namespace {

QAction *add(QMenu *menu, const QString &text, const char *name, const QKeySequence &key, bool isEnabled,
             const std::function<void()> &run)
{
    QAction *action = menu->addAction(text);
    action->setObjectName(QLatin1String(name));
    action->setShortcut(key);
    action->setEnabled(isEnabled);
    QObject::connect(action, &QAction::triggered, menu, run);
    return action;
}

QString equalTo(const TableColumn &column, const RowValue &value)
{
    const bool comparesAsBytes = column.kind == ValueKind::Approximate || column.kind == ValueKind::Json ||
                                 column.kind == ValueKind::Bits || column.kind == ValueKind::Opaque;
    return comparesAsBytes || !value ? sameValue(column, value)
                                     : quotedName(column.name) + u'=' + literal(column, value);
}

// "`a`=1 and `b`='x'": the rows whose columns hold what these columns of the row hold.
QString conditionOf(const QStringList &columns, const QStringList &from, const TableShape &table,
                    const std::vector<RowValue> &row)
{
    QStringList conditions;
    for (qsizetype i = 0; i < columns.size(); ++i) {
        const int place = table.indexOf(from.value(i));
        if (place < 0 || !row[static_cast<std::size_t>(place)])
            return {};
        TableColumn column = table.columns[static_cast<std::size_t>(place)];
        column.name = columns[i];
        conditions << equalTo(column, row[static_cast<std::size_t>(place)]);
    }
    return conditions.join(QStringLiteral(" and "));
}

} // namespace

void addRowEditing(QMenu *menu, RowGrid &rows)
{
    const QModelIndex cell = rows.grid().currentIndex();
    const bool mayEdit = rows.mayWrite();
    const bool mayEditCell = mayEdit && cell.isValid() && !rows.table().columns.empty();
    menu->addSeparator();
    add(menu, QStringLiteral("編集(&E)"), "editCell", Qt::Key_F2, mayEditCell,
        [&rows, cell] { rows.editCell(cell); });
    add(menu, QStringLiteral("NULLにする(&N)"), "setNull", Qt::CTRL | Qt::Key_0, mayEditCell,
        [&rows] { rows.setNull(); });
    add(menu, QStringLiteral("空の文字列にする(&M)"), "setEmptyText", {}, mayEditCell,
        [&rows] { rows.setEmptyText(); });
    add(menu, QStringLiteral("行を追加(&B)"), "addRow", Qt::CTRL | Qt::Key_Insert, mayEdit,
        [&rows] { rows.addRow(); });
    add(menu, QStringLiteral("行を複製(&D)"), "duplicateRow", Qt::CTRL | Qt::Key_D, mayEditCell,
        [&rows] { rows.duplicateRow(); });
    add(menu, QStringLiteral("行を削除(&L)"), "deleteRows", Qt::Key_Delete, mayEditCell,
        [&rows] { rows.deleteRows(); });
}

void RowsView::addToMenu(QMenu *menu)
{
    const QModelIndex cell = m_pane.grid.currentIndex();
    if (!m_rows.isBegun() || m_session.runner.isRunning())
        return;
    const bool hasCell = cell.isValid() && !m_rows.table().columns.empty();
    addRowEditing(menu, m_rows);
    menu->addSeparator();
    add(menu, QStringLiteral("この値で絞り込む(&I)"), "filterByValue", {}, hasCell,
        [this, cell] { filterBy(cell, false); });
    add(menu, QStringLiteral("この値を除く(&X)"), "excludeValue", {}, hasCell,
        [this, cell] { filterBy(cell, true); });
    if (hasCell)
        addFollowing(menu, cell);
}

void RowsView::filterBy(const QModelIndex &cell, bool isExcluded)
{
    if (!mayLeave())
        return;
    const TableColumn &column = m_rows.table().columns[static_cast<std::size_t>(cell.column())];
    const RowValue value = m_rows.value(m_pane.grid.storedRow(cell.row()), cell.column());
    QString condition = equalTo(column, value);
    if (isExcluded && !value)
        condition = quotedName(column.name) + QStringLiteral(" is not null");
    else if (isExcluded) // NULL is another value, too
        condition = QStringLiteral("not ifnull(%1,0)").arg(condition);
    const QString before = m_pane.rowsWhere->text().trimmed();
    m_pane.rowsWhere->setText(before.isEmpty() ? condition
                                               : u'(' + before + QStringLiteral(") and ") + condition);
    Q_EMIT readWanted();
}

void RowsView::addFollowing(QMenu *menu, const QModelIndex &cell)
{
    const TableShape &table = m_rows.table();
    const QString &name = table.columns[static_cast<std::size_t>(cell.column())].name;
    const int row = m_pane.grid.storedRow(cell.row());
    menu->addSeparator();
    for (const ForeignKey &key : table.references)
        if (key.fromColumns.contains(name, Qt::CaseInsensitive))
            add(menu,
                QStringLiteral("参照先を開く: ") + QString(key.toTable).replace(u'&', QStringLiteral("&&")),
                "openReferenced", {}, true, [this, key, row] { followTo(key, row); });
    add(menu, QStringLiteral("参照元を開く(&G)..."), "openReferring", {}, !table.key.empty(),
        [this, row] { followFrom(row); });
}

void RowsView::followTo(const ForeignKey &key, int row)
{
    const QString condition =
        conditionOf(key.toColumns, key.fromColumns, m_rows.table(), m_rows.readRow(row));
    if (condition.isEmpty())
        showState(QStringLiteral("NULLはどの行も参照しません"));
    else if (mayLeave())
        Q_EMIT tableWanted(key.toDatabase, key.toTable, condition);
}

void RowsView::followFrom(int row)
{
    std::vector<ForeignKey> keys;
    run(QStringLiteral("参照元を探す"),
        [&] { keys = readReferrers(m_session.connection(), m_rows.table()); });
    QStringList names;
    for (const ForeignKey &key : keys)
        names << key.fromTable + QStringLiteral(" (") + key.fromColumns.join(QStringLiteral(", ")) + u')';
    int chosen = 0;
    if (keys.empty())
        return showState(QStringLiteral("このテーブルを参照する外部キーはありません"));
    if (keys.size() > 1)
        chosen = m_dialogue.choose(QStringLiteral("どのテーブルの行を開きますか？"), names);
    if (chosen < 0 || !mayLeave())
        return;
    const ForeignKey &key = keys[static_cast<std::size_t>(chosen)];
    const QString condition =
        conditionOf(key.fromColumns, key.toColumns, m_rows.table(), m_rows.readRow(row));
    if (!condition.isEmpty())
        Q_EMIT tableWanted(key.fromDatabase, key.fromTable, condition);
}
