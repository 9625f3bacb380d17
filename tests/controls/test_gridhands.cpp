#include "controls/grid/cellviewer.h"
#include "controls/grid/flexgrid.h"
#include "support/gui/boxes.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>

namespace {

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

class TestGridHands : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void headerClicksSortAndThirdRestores();
    void largeGridsSortBesideTheWindow();
    void findGoesRoundInBothDirections();
    void cellViewerShowsTextBytesAndPicture();
};

void TestGridHands::headerClicksSortAndThirdRestores()
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

void TestGridHands::largeGridsSortBesideTheWindow()
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

void TestGridHands::findGoesRoundInBothDirections()
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

void TestGridHands::cellViewerShowsTextBytesAndPicture()
{
    FlexGrid grid;
    grid.setFields({{"photo", FieldKind::Binary}, {"memo"}});
    QImage image(3, 2, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    const std::string photo = "0x" + png.toHex().toStdString(), memo(20000, 'm');
    const Cell cells[] = {{photo}, {memo}};
    grid.appendRow(cells);
    grid.setCurrentIndex(grid.model()->index(0, 0));
    QTest::keyClick(&grid, Qt::Key_Return);
    auto *viewer = grid.findChild<CellViewer *>(QStringLiteral("cellViewer"));
    QVERIFY(viewer && viewer->isVisible() && !viewer->isModal());
    auto *tabs = viewer->findChild<QTabWidget *>();
    QCOMPARE(tabs->currentIndex(), 2);
    QCOMPARE(viewer->findChild<QLabel *>("cellPicture")->pixmap().size(), QSize(3, 2));
    // A second cell reuses the window.
    grid.openCell(grid.model()->index(0, 1));
    QCOMPARE(grid.findChildren<CellViewer *>().size(), 1);
    QVERIFY(!tabs->isTabEnabled(2));
    QTest::mouseClick(viewer->findChild<QPushButton *>("cellCopy"), Qt::LeftButton);
    QCOMPARE(QApplication::clipboard()->text(), QString::fromStdString(memo));
    QTest::keyClick(viewer, Qt::Key_Escape);
    QTRY_VERIFY(!grid.findChild<CellViewer *>());
}

QTEST_MAIN(TestGridHands)
#include "test_gridhands.moc"
