#include "controls/grid/flexgrid.h"
#include "controls/grid/gridcopy.h"
#include "controls/grid/gridmenu.h"
#include "support/gui/boxes.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

namespace {

QString copied(FlexGrid &grid)
{
    QApplication::clipboard()->clear();
    QTest::keyClick(&grid, Qt::Key_C, Qt::ControlModifier);
    return QApplication::clipboard()->text();
}

void fillNumbers(FlexGrid &grid, int rows)
{
    const RedrawOff redrawOff(grid);
    grid.setFields({{"id", FieldKind::Number}, {"text"}});
    for (int row = 0; row < rows; ++row) {
        const std::string id = std::to_string(row), text = "text " + std::to_string(row % 10);
        const Cell cells[] = {{id}, {text}};
        grid.appendRow(cells);
    }
}

void clickHeader(FlexGrid &grid, int column)
{
    QHeaderView *header = grid.horizontalHeader();
    const QPoint middle(header->sectionViewportPosition(column) + 10, header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, middle);
}

QString column(const FlexGrid &grid, int column)
{
    QStringList texts;
    for (int row = 0; row < grid.rowCount(); ++row)
        texts << grid.text(row, column);
    return texts.join(u',');
}

} // namespace

// A grid by the hands of its user.
class GridTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void nullIsNotTheTextNull();
    void millionRowsCostLittleMoreThanTheirText();
    void hugeValuesShowOneLineAndCopyWhole();
    void copiesWhatIsSelected();
    void headerClicksSortAndThirdRestores();
    void largeGridsSortBesideTheWindow();
    void findGoesRoundInBothDirections();
};

void GridTest::nullIsNotTheTextNull()
{
    FlexGrid grid;
    grid.setFields({{"a"}, {"b"}});
    const Cell cells[] = {{{}, true}, {"NULL"}};
    grid.appendRow(cells);
    grid.resize(400, 120);
    grid.show();
    QVERIFY(QTest::qWaitForWindowExposed(&grid));
    grid.setColumnWidth(1, grid.columnWidth(0));
    const auto picture = [&](int column) {
        return grid.viewport()->grab(grid.visualRect(grid.model()->index(0, column)).adjusted(4, 2, -4, -2));
    };
    grid.clearSelection();
    grid.setCurrentIndex({});
    QVERIFY2(picture(0).toImage() != picture(1).toImage(), "both look alike");
}

void GridTest::millionRowsCostLittleMoreThanTheirText()
{
    FlexGrid grid;
    grid.show();
    QVERIFY(QTest::qWaitForWindowExposed(&grid));
    const std::string text = "a longer text that goes on for a while 長い文字列";
    const Cell cells[] = {{"1234567"}, {"名前 花子"}, {"12345.67"}, {"2026-11-21 10:00:00"}, {text}, {"42"}};
    std::size_t bytes = 0;
    for (const Cell &cell : cells)
        bytes += cell.bytes.size() * 1000000;
    QSignalSpy layouts(grid.model(), &QAbstractItemModel::rowsInserted);
    {
        const RedrawOff redrawOff(grid);
        grid.setFields(std::vector<Field>(std::size(cells)));
        for (int row = 0; row < 1000000; ++row)
            grid.appendRow(cells);
        QCOMPARE(layouts.size(), 0);
    }
    QCOMPARE(layouts.size(), 1);
    QCOMPARE(grid.text(999999, 5), "42");
    QVERIFY2(grid.allocatedBytes() < bytes * 1.15, qPrintable(QString::number(grid.allocatedBytes())));
    grid.clearGrid();
    QVERIFY(grid.allocatedBytes() < 10000);
}

void GridTest::hugeValuesShowOneLineAndCopyWhole()
{
    FlexGrid grid;
    grid.setFields({{"a"}});
    std::string huge;
    while (huge.size() < 1000000)
        huge += "あいう\r\nえお\t";
    const Cell cell{huge};
    grid.appendRow({&cell, 1});
    const QString shown = grid.model()->index(0, 0).data().toString();
    QVERIFY(shown.size() < 10000);
    QVERIFY(shown.startsWith("あいう↵えお あいう"));
    QVERIFY(shown.endsWith(u'…') && !shown.contains(QChar::ReplacementCharacter));
    QVERIFY(grid.columnWidth(0) < 400);
    grid.selectAll();
    QCOMPARE(copied(grid), QString::fromStdString(huge));
}

void GridTest::copiesWhatIsSelected()
{
    FlexGrid grid;
    grid.setFields({{"a"}, {"b"}, {"c"}});
    for (const char *first : {"1", "2", "3"}) {
        const Cell cells[] = {{first}, {"x\ty"}, {{}, true}};
        grid.appendRow(cells);
    }
    const auto select = [&](int top, int left, int bottom, int right, auto how) {
        const QItemSelection range(grid.model()->index(top, left), grid.model()->index(bottom, right));
        grid.selectionModel()->select(range, how);
    };
    QTest::keyClick(&grid, Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(copied(grid), "1\t\"x\ty\"\tNULL\n2\t\"x\ty\"\tNULL\n3\t\"x\ty\"\tNULL");
    select(1, 1, 1, 1, QItemSelectionModel::ClearAndSelect);
    QCOMPARE(copied(grid), "x\ty");
    grid.setCurrentIndex(grid.model()->index(2, 0));
    QTest::keyClick(&grid, Qt::Key_Space, Qt::ShiftModifier);
    QCOMPARE(copied(grid), "3\t\"x\ty\"\tNULL");
    QTest::keyClick(&grid, Qt::Key_Space, Qt::ControlModifier);
    QCOMPARE(copied(grid), "1\n2\n3");
    // Two corners: the others stay empty, but no record gets values that its row does not have.
    select(0, 0, 0, 0, QItemSelectionModel::ClearAndSelect);
    select(2, 2, 2, 2, QItemSelectionModel::Select);
    QCOMPARE(grid.selectedText(CopyFormat::TabSeparated), "1\t\n\tNULL");
    QCOMPARE(grid.selectedText(CopyFormat::Csv), "a,c\n1,\n3,\n");
    grid.setTableName("t");
    const std::unique_ptr<QMenu> menu(createGridMenu(grid));
    menu->findChild<QAction *>("copyInsert")->trigger();
    QVERIFY(QApplication::clipboard()->text().startsWith("INSERT INTO `t` (`a`, `c`) VALUES ("));
    grid.clearSelection();
    QApplication::clipboard()->setText("before");
    QTest::keyClick(&grid, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), "before");
}

void GridTest::headerClicksSortAndThirdRestores()
{
    FlexGrid grid;
    grid.setFields({{"n", FieldKind::Number}, {"t"}});
    for (const char *number : {"10", "9", "100"}) {
        const Cell cells[] = {{number}, {"same"}};
        grid.appendRow(cells);
    }
    grid.show();
    QVERIFY(QTest::qWaitForWindowExposed(&grid));
    clickHeader(grid, 0);
    QCOMPARE(column(grid, 0), "9,10,100");
    clickHeader(grid, 0);
    QCOMPARE(column(grid, 0), "100,10,9");
    clickHeader(grid, 0);
    QCOMPARE(column(grid, 0), "10,9,100");
    QVERIFY(!grid.horizontalHeader()->isSortIndicatorShown());
    // Rows that arrive after sorting come last.
    clickHeader(grid, 0);
    const Cell late[] = {{"7"}, {"new"}};
    grid.appendRow(late);
    QCOMPARE(column(grid, 0), "9,10,100,7");
}

void GridTest::largeGridsSortBesideTheWindow()
{
    auto grid = std::make_unique<FlexGrid>();
    fillNumbers(*grid, 300000);
    grid->sortByColumn(0, Qt::AscendingOrder);
    grid->sortByColumn(0, Qt::DescendingOrder); // gives the first one up
    QCOMPARE(grid->text(0, 0), "0");
    QTRY_COMPARE_WITH_TIMEOUT(grid->text(0, 0), "299999", 30000);
    // Neither new rows nor the end of the grid wait for a sort or mix with it.
    grid->sortByColumn(1, Qt::AscendingOrder);
    fillNumbers(*grid, 5);
    QTest::qWait(50);
    QCOMPARE(column(*grid, 0), "0,1,2,3,4");
    fillNumbers(*grid, 100000);
    grid->sortByColumn(1, Qt::AscendingOrder);
    grid.reset();
}

void GridTest::findGoesRoundInBothDirections()
{
    FlexGrid grid;
    fillNumbers(grid, 20000);
    grid.show();
    grid.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&grid));
    grid.setCurrentIndex(grid.model()->index(50, 0));
    QTest::keyClick(&grid, Qt::Key_F3);
    auto *bar = grid.findChild<QWidget *>(QStringLiteral("findBar"));
    auto *line = bar->findChild<QLineEdit *>(QStringLiteral("findText"));
    QVERIFY(bar->isVisible() && line->hasFocus());
    QTest::keyClicks(line, "TEXT 3");
    const auto current = [&] { return grid.currentIndex().row(); };
    QTRY_COMPARE(current(), 53);
    QTest::keyClick(&grid, Qt::Key_F3);
    QTRY_COMPARE(current(), 63);
    grid.setCurrentIndex(grid.model()->index(19993, 1));
    QTest::keyClick(line, Qt::Key_Return);
    QTRY_COMPARE(current(), 3);
    QTest::keyClick(line, Qt::Key_Return, Qt::ShiftModifier);
    QTRY_COMPARE(current(), 19993);
    QTest::keyClick(line, Qt::Key_Escape);
    QVERIFY(!bar->isVisible() && grid.hasFocus());
}

QTEST_MAIN(GridTest)
#include "test_grid.moc"
