#include "controls/flexgrid.h"
#include "controls/gridcopy.h"
#include "support/gui/boxes.h"
#include "support/scriptedconnection.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTest>

namespace {

const QString nullText = QStringLiteral("NULL");

QString shownText(const FlexGrid &grid, int row, int column)
{
    return grid.model()->index(row, column).data().toString();
}

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
    void fillsFromARecordSetAndClosesIt();
    void failedReadKeepsTheRowsAndShowsThem();
    void redrawOffLaysOutOnce();
    void nullIsNotTheTextNull();
    void millionRowsCostLittleMoreThanTheirText();
    void hugeValuesShowOneLineAndCopyWhole();
    void manyWideCellsPaintQuickly();
    void copiesWhatIsSelected();
    void doubleClickOnAnEdgeFitsTheColumn();
};

void TestFlexGrid::fillsFromARecordSetAndClosesIt()
{
    Script script;
    script.always(QStringLiteral("q"), Reply::table({QStringLiteral("a"), QStringLiteral("b")},
                                                    {{QStringLiteral("1"), std::nullopt},
                                                     {QStringLiteral(""), QStringLiteral("日本語 𠮷")}}));
    script.always(QStringLiteral("empty"), Reply::table({QStringLiteral("only")}));
    const auto connection = script.connect();
    FlexGrid grid;
    RecordSet rows = connection->execute(QStringLiteral("q"));
    fillGrid(grid, std::move(rows));
    QVERIFY(!rows.isOpen());
    QCOMPARE(grid.rowCount(), 2);
    QCOMPARE(grid.model()->rowCount(), 2);
    QCOMPARE(grid.text(0, 1), nullText);
    QCOMPARE(grid.text(1, 0), QString());
    QCOMPARE(grid.text(1, 1), QStringLiteral("日本語 𠮷"));
    fillGrid(grid, connection->execute(QStringLiteral("empty")));
    QCOMPARE(grid.columnCount(), 1);
    QCOMPARE(grid.fieldName(0), QStringLiteral("only"));
    QCOMPARE(grid.rowCount(), 0);
    fillGrid(grid, connection->execute(QStringLiteral("a statement without rows")));
    QCOMPARE(grid.columnCount(), 0);
}

namespace {

// Gives one row and then fails, as a lost connection does.
class FailingSource : public RowSource {
public:
    const std::vector<Field> &fields() const override { return m_fields; }
    bool isOpen() const override { return true; }
    bool read(RowBlock &block) override
    {
        if (m_reads++ > 0)
            throw SqlError(QStringLiteral("gone"), 2013);
        block = RowBlock(1);
        block.beginRow();
        block.addCell("first");
        return true;
    }

private:
    std::vector<Field> m_fields{{QStringLiteral("a")}};
    int m_reads = 0;
};

} // namespace

void TestFlexGrid::failedReadKeepsTheRowsAndShowsThem()
{
    FlexGrid grid;
    QVERIFY_EXCEPTION_THROWN(fillGrid(grid, RecordSet(std::make_unique<FailingSource>())), SqlError);
    QCOMPARE(grid.rowCount(), 1);
    QCOMPARE(shownText(grid, 0, 0), QStringLiteral("first"));
}

void TestFlexGrid::redrawOffLaysOutOnce()
{
    FlexGrid grid;
    QSignalSpy inserted(grid.model(), &QAbstractItemModel::rowsInserted);
    {
        const RedrawOff redrawOff(grid);
        grid.setFields({{QStringLiteral("a")}});
        const Cell cell{"x"};
        for (int i = 0; i < 1000; ++i)
            grid.appendRow({&cell, 1});
        QCOMPARE(inserted.size(), 0);
        QCOMPARE(grid.rowCount(), 1000);
        QCOMPARE(grid.text(999, 0), QStringLiteral("x"));
    }
    QCOMPARE(inserted.size(), 1);
    const Cell last{"last"};
    grid.appendRow({&last, 1});
    QCOMPARE(shownText(grid, 1000, 0), QStringLiteral("last"));
}

void TestFlexGrid::nullIsNotTheTextNull()
{
    FlexGrid grid;
    grid.setFields({{QStringLiteral("a")}, {QStringLiteral("b")}});
    const Cell cells[] = {{{}, true}, {"NULL"}};
    grid.appendRow(cells);
    QCOMPARE(grid.text(0, 0), grid.text(0, 1));
    QVERIFY(grid.isNull(0, 0) && !grid.isNull(0, 1));
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
    const std::vector<std::string> values{"1234567",
                                          "名前 花子",
                                          "varchar テキスト",
                                          "12345.67",
                                          "2026-11-21 10:00:00",
                                          "3.14159265358979",
                                          "a longer text that goes on for a while 長い文字列",
                                          "42"};
    std::vector<Cell> cells(values.begin(), values.end());
    std::vector<Field> fields(8);
    std::size_t bytes = 0;
    {
        const RedrawOff redrawOff(grid);
        grid.setFields(fields);
        for (int row = 0; row < 1000000; ++row)
            grid.appendRow(cells);
        for (const auto &value : values)
            bytes += value.size() * 1000000;
    }
    QCOMPARE(grid.model()->rowCount(), 1000000);
    QVERIFY2(grid.allocatedBytes() < bytes * 1.15, qPrintable(QString::number(grid.allocatedBytes())));
    grid.scrollToBottom();
    QCOMPARE(grid.indexAt(grid.viewport()->rect().bottomLeft() - QPoint(0, 4)).row() > 999900, true);
    grid.clearGrid();
    QVERIFY(grid.allocatedBytes() < 10000);
}

void TestFlexGrid::hugeValuesShowOneLineAndCopyWhole()
{
    FlexGrid grid;
    grid.setFields({{QStringLiteral("a")}});
    std::string huge;
    while (huge.size() < 1000000)
        huge += "あいう\r\nえお\t";
    const Cell cell{huge};
    grid.appendRow({&cell, 1});
    const QString shown = shownText(grid, 0, 0);
    QVERIFY(shown.size() < 10000);
    QVERIFY(shown.startsWith(QStringLiteral("あいう↵えお あいう")));
    QVERIFY(shown.endsWith(u'…') && !shown.contains(QChar::ReplacementCharacter));
    QVERIFY(grid.columnWidth(0) < 400);
    grid.selectAll();
    QCOMPARE(copied(grid), QString::fromStdString(huge));
}

void TestFlexGrid::manyWideCellsPaintQuickly()
{
    FlexGrid grid;
    grid.resize(1400, 900);
    grid.show();
    const std::string huge(1000000, 'i');
    std::vector<Cell> cells(200, Cell{huge});
    grid.setFields(std::vector<Field>(200));
    for (int row = 0; row < 3; ++row)
        grid.appendRow(cells);
    QVERIFY(QTest::qWaitForWindowExposed(&grid));
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < 5; ++i)
        grid.viewport()->repaint();
    QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));
}

void TestFlexGrid::copiesWhatIsSelected()
{
    FlexGrid grid;
    grid.setFields({{QStringLiteral("a")}, {QStringLiteral("b")}, {QStringLiteral("c")}});
    for (const char *first : {"1", "2", "3"}) {
        const Cell cells[] = {{first}, {"x\ty"}, {{}, true}};
        grid.appendRow(cells);
    }
    const auto select = [&](int top, int left, int bottom, int right, auto how) {
        const QItemSelection range(grid.model()->index(top, left), grid.model()->index(bottom, right));
        grid.selectionModel()->select(range, how);
    };
    QTest::keyClick(&grid, Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(copied(grid), QStringLiteral("1\t\"x\ty\"\tNULL\n2\t\"x\ty\"\tNULL\n3\t\"x\ty\"\tNULL"));
    select(1, 1, 1, 1, QItemSelectionModel::ClearAndSelect);
    QCOMPARE(copied(grid), QStringLiteral("x\ty"));
    grid.setCurrentIndex(grid.model()->index(2, 0));
    QTest::keyClick(&grid, Qt::Key_Space, Qt::ShiftModifier);
    QCOMPARE(copied(grid), QStringLiteral("3\t\"x\ty\"\tNULL"));
    QTest::keyClick(&grid, Qt::Key_Space, Qt::ControlModifier);
    QCOMPARE(copied(grid), QStringLiteral("1\n2\n3"));
    // Two corners: what lies between them stays empty.
    select(0, 0, 0, 0, QItemSelectionModel::ClearAndSelect);
    select(2, 2, 2, 2, QItemSelectionModel::Select);
    QCOMPARE(grid.selectedText(CopyFormat::Csv), QStringLiteral("a,c\n1,\"\"\n\"\",\n"));
    grid.clearSelection();
    QApplication::clipboard()->setText(QStringLiteral("before"));
    QTest::keyClick(&grid, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("before"));
}

void TestFlexGrid::doubleClickOnAnEdgeFitsTheColumn()
{
    FlexGrid grid;
    grid.setFields({{QStringLiteral("a")}, {QStringLiteral("b")}});
    const std::string wide(100, 'W');
    const Cell cells[] = {{wide}, {"x"}};
    grid.appendRow(cells);
    grid.resize(500, 200);
    grid.show();
    QVERIFY(QTest::qWaitForWindowExposed(&grid));
    const int before = grid.columnWidth(0);
    const QPoint edge(before - 1, grid.horizontalHeader()->height() / 2);
    QTest::mouseDClick(grid.horizontalHeader()->viewport(), Qt::LeftButton, {}, edge);
    const int needed = grid.fontMetrics().horizontalAdvance(QString::fromStdString(wide));
    QVERIFY(before < needed);
    QVERIFY(grid.columnWidth(0) >= needed);
    QVERIFY(!grid.horizontalHeader()->isSortIndicatorShown());
}

QTEST_MAIN(TestFlexGrid)
#include "test_flexgrid.moc"
