#include "controls/grid/gridmenu.h"

#include "controls/grid/flexgrid.h"
#include "controls/grid/gridcopy.h"

#include <QMenu>

QMenu *createGridMenu(FlexGrid &grid)
{
    auto *menu = new QMenu(&grid);
    menu->setObjectName(QStringLiteral("gridMenu"));
    const bool hasSelection = grid.selectionModel()->hasSelection();
    const bool hasRows = grid.model()->rowCount() > 0;
    const QModelIndex cell = grid.currentIndex();
    const auto add = [&](QMenu *to, const QString &text, const char *name, bool isEnabled, auto run) {
        QAction *action = to->addAction(text, &grid, run);
        action->setObjectName(QLatin1String(name));
        action->setEnabled(isEnabled);
        return action;
    };
    const auto addCopy = [&](QMenu *to, const QString &text, const char *name, CopyFormat format) {
        return add(to, text, name, hasSelection, [&grid, format] { grid.copy(format); });
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
    if (grid.mayExport())
        add(menu, QStringLiteral("ファイルに書き出し(&R)..."), "exportRows", grid.columnCount() > 0,
            [&grid] { Q_EMIT grid.exportRequested(); });
    menu->addSeparator();
    add(menu, QStringLiteral("すべて選択(&A)"), "selectAll", hasRows, [&grid] {
        grid.selectAll();
    })->setShortcut(QKeySequence::SelectAll);
    add(menu, QStringLiteral("検索(&S)..."), "find", hasRows, [&grid] {
        grid.openSearch();
    })->setShortcut(QKeySequence::Find);
    add(menu, QStringLiteral("値を表示(&V)..."), "openCell", cell.isValid(),
        [&grid, cell = QPersistentModelIndex(cell)] { grid.openCell(cell); });
    menu->addSeparator();
    add(menu, QStringLiteral("列の幅を合わせる(&W)"), "fitColumns", grid.columnCount() > 0, [&grid] {
        for (int column = 0; column < grid.columnCount(); ++column)
            grid.resizeColumnToContents(column);
    });
    add(menu, QStringLiteral("元の順に戻す(&O)"), "serverOrder", grid.sortedColumn() >= 0,
        [&grid] { grid.sortByColumn(-1, Qt::AscendingOrder); });
    return menu;
}
