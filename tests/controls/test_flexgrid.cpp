#include "controls/grid/flexgrid.h"
#include "controls/grid/gridcopy.h"
#include "support/gui/boxes.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
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

} // namespace

class TestFlexGrid : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void nullIsNotTheTextNull();
    void millionRowsCostLittleMoreThanTheirText();
    void hugeValuesShowOneLineAndCopyWhole();
    void copiesWhatIsSelected();
};

void TestFlexGrid::nullIsNotTheTextNull()
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

void TestFlexGrid::millionRowsCostLittleMoreThanTheirText()
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

void TestFlexGrid::hugeValuesShowOneLineAndCopyWhole()
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

void TestFlexGrid::copiesWhatIsSelected()
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
    const std::unique_ptr<QMenu> menu(grid.createMenu());
    menu->findChild<QAction *>("copyInsert")->trigger();
    QVERIFY(QApplication::clipboard()->text().startsWith("INSERT INTO `t` (`a`, `c`) VALUES ("));
    grid.clearSelection();
    QApplication::clipboard()->setText("before");
    QTest::keyClick(&grid, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), "before");
}

QTEST_MAIN(TestFlexGrid)
#include "test_flexgrid.moc"
