#include "controls/cellviewer.h"
#include "controls/findbar.h"
#include "controls/flexgrid.h"
#include "controls/flexgridmodel.h"
#include "controls/gridcopy.h"

#include <QContextMenuEvent>
#include <QMenu>

QMenu *FlexGrid::createMenu()
{
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("gridMenu"));
    const bool hasSelection = selectionModel()->hasSelection();
    const QModelIndex cell = currentIndex();
    const auto add = [&](QMenu *to, const QString &text, const char *name, bool isEnabled, auto run) {
        QAction *action = to->addAction(text, this, run);
        action->setObjectName(QLatin1String(name));
        action->setEnabled(isEnabled);
        return action;
    };
    const auto addCopy = [&](QMenu *to, const QString &text, const char *name, CopyFormat format) {
        return add(to, text, name, hasSelection, [this, format] { copy(format); });
    };
    addCopy(menu, QStringLiteral("コピー(&C)"), "copy", CopyFormat::TabSeparated)
        ->setShortcut(QKeySequence::Copy);
    QMenu *forms = menu->addMenu(QStringLiteral("形式を選んでコピー(&F)"));
    addCopy(forms, QStringLiteral("タブ区切り、見出しつき(&T)"), "copyWithHeader",
            CopyFormat::TabSeparatedWithHeader);
    addCopy(forms, QStringLiteral("CSV(&C)"), "copyCsv", CopyFormat::Csv);
    addCopy(forms, QStringLiteral("Markdown(&M)"), "copyMarkdown", CopyFormat::Markdown);
    addCopy(forms, QStringLiteral("JSON(&J)"), "copyJson", CopyFormat::Json);
    addCopy(forms, QStringLiteral("INSERT文(&I)"), "copyInsert", CopyFormat::Insert);
    menu->addSeparator();
    add(menu, QStringLiteral("すべて選択(&A)"), "selectAll", m_model->rowCount() > 0, [this] {
        selectAll();
    })->setShortcut(QKeySequence::SelectAll);
    add(menu, QStringLiteral("検索(&S)..."), "find", m_model->rowCount() > 0, [this] {
        m_findBar->open({});
    })->setShortcut(QKeySequence::Find);
    add(menu, QStringLiteral("値を表示(&V)..."), "openCell", cell.isValid(),
        [this, cell = QPersistentModelIndex(cell)] { openCell(cell); });
    menu->addSeparator();
    add(menu, QStringLiteral("列の幅を合わせる(&W)"), "fitColumns", columnCount() > 0, [this] {
        for (int column = 0; column < columnCount(); ++column)
            resizeColumnToContents(column);
    });
    add(menu, QStringLiteral("元の順に戻す(&O)"), "serverOrder", m_model->sortedColumn() >= 0,
        [this] { sortByColumn(-1, Qt::AscendingOrder); });
    return menu;
}

void FlexGrid::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu *menu = createMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
    event->accept();
}

void FlexGrid::openCell(const QModelIndex &cell)
{
    if (!cell.isValid())
        return;
    if (!m_viewer)
        m_viewer = new CellViewer(window());
    const Cell &value = m_model->cell(cell.row(), cell.column());
    m_viewer->showValue(m_model->fields()[static_cast<std::size_t>(cell.column())], value, cell.row() + 1);
    m_viewer->show();
    m_viewer->raise();
    m_viewer->activateWindow();
}
