#include "controls/grid/cellviewer.h"
#include "controls/grid/flexgrid.h"
#include "controls/grid/gridcopy.h"
#include "controls/grid/gridmenu.h"
#include "controls/grid/gridsort.h"
#include "controls/grid/valuetextbox.h"
#include "support/gui/boxes.h"
#include "support/gui/control.h"

#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>
#include <QTreeWidget>

#include <algorithm>
#include <numeric>
#include <optional>

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

using Values = std::vector<std::optional<std::string>>;

std::vector<int> order(const Values &values, FieldKind kind, Qt::SortOrder direction)
{
    PackedRows rows(1);
    RowBlock block(1);
    for (const auto &value : values) {
        // Rows come in blocks of any size, and singly.
        block.beginRow();
        if (value)
            block.addCell(*value);
        else
            block.addNull();
        if (block.rowCount() > rows.rowCount() % 5 * 100)
            rows.append(std::exchange(block, RowBlock(1)));
        else if (block.rowCount() == 1 && rows.rowCount() % 3 == 0) {
            std::vector<Cell> cells;
            block.read(0, cells);
            rows.append(cells);
            block.clear();
        }
    }
    rows.append(std::move(block));
    std::vector<int> result;
    for (const auto row : sortedOrder(rows, 0, kind, direction))
        result.push_back(static_cast<int>(row));
    return result;
}

} // namespace

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
    void cellViewerShowsTextBytesAndPicture();
    void brokenLinesAreCopiedAndSearchedWhole();
    void jsonIsLaidOutAsItIsWritten();
    void aLargeValueIsShownAsFarAsItSays();
    void bytesAreReadInAChosenCharacterSet();
    void sortsByValue();
    void equalRowsKeepTheServersOrderBothWays();
    void manyRowsComeOutLikeAnOrdinarySort();
    void rowsThatArriveLeaveACopyAlone();
    void everyValueSurvives();
    void wholeTexts();
    void bytesAreShownInShortWholeLines();
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

void GridTest::cellViewerShowsTextBytesAndPicture()
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

// The line ends are only for showing.
void GridTest::brokenLinesAreCopiedAndSearchedWhole()
{
    CellViewer viewer(nullptr);
    viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    auto &text = control<ValueTextBox>(viewer, "cellText");
    std::string value(497, 'a');
    value.append("日本語").append(498, 'b').append("Needle").append(70000, 'c');
    for (const std::string &each : {value.substr(0, 1200), value}) {
        viewer.showValue({"memo"}, {each}, 1);
        QVERIFY(text.isBroken());
        QVERIFY(text.findFirst("needle", false, false, false, true));
        QCOMPARE(text.selectedValue(), "Needle");
        QVERIFY(text.findFirst("A日本語b", false, false, false, true, true, 0, 0));
        text.copy();
        QCOMPARE(QApplication::clipboard()->text(), "a日本語b");
        QVERIFY(text.findFirst("c", false, false, false, true, false, 0, 0));
        text.selectAll();
        QCOMPARE(text.selectedValue(), QString::fromStdString(each));
    }
}

void GridTest::jsonIsLaidOutAsItIsWritten()
{
    const auto laidOut = [](const std::string &text) {
        const auto json = parseJson(text);
        return json ? QString::fromStdString(formattedJson(*json)) : QString();
    };
    const std::string digits = "12345678901234567890";
    QCOMPARE(laidOut(" {\"b\":1.10,\"a\":[" + digits + ",{}],\"b\":\"\\\"}\"} ").remove(u' '),
             "{\n\"b\":1.10,\n\"a\":[\n12345678901234567890,\n{}\n],\n\"b\":\"\\\"}\"\n}");
    for (const char *none : {"{\"a\":}", "[1,]", "[1] 2", "{\"a\"", "[\"\\", "{1:2}", "[nul]"})
        QVERIFY2(laidOut(none).isNull(), none);
    QVERIFY(laidOut(std::string(100000, '[')).isNull());

    CellViewer viewer(nullptr);
    viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    const std::string json = "{\"名前\":[\"\\u3042\",null]}";
    viewer.showValue({"j"}, {json}, 1);
    auto &tree = control<QTreeWidget>(viewer, "cellTree");
    control<QTabWidget>(viewer, "cellTabs").setCurrentIndex(4);
    QTreeWidgetItem *list = tree.topLevelItem(0)->child(0);
    QCOMPARE(list->text(0), "名前");
    list->setExpanded(true);
    QCOMPARE(list->child(0)->text(1), "あ");
    viewer.showValue({"j"}, {"text"}, 1);
    QVERIFY(!tree.isVisibleTo(&viewer) && tree.topLevelItemCount() == 0);
}

// The window goes on while it is read, and says of what it shows no more than that.
void GridTest::aLargeValueIsShownAsFarAsItSays()
{
    CellViewer viewer(nullptr);
    viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    auto &tabs = control<QTabWidget>(viewer, "cellTabs");
    auto &tree = control<QTreeWidget>(viewer, "cellTree");
    const auto &summary = control<QLabel>(viewer, "cellSummary");
    std::string json = "[";
    for (int i = 0; i < 6000; ++i)
        json += '"' + std::string(999, 'x') + "日本語\",";
    const std::string broken = json;
    json.back() = ']';
    const std::string large = json + std::string(ValueTextBox::mostShown - json.size() - 1, ' ') + "日";
    viewer.showValue({"j"}, {json}, 1);
    tabs.setCurrentIndex(3);
    viewer.showValue({"j"}, {broken}, 1); // while the one before is read
    tabs.setCurrentIndex(3);
    QTRY_COMPARE(control<ValueTextBox>(viewer, "cellJson").text(), "JSON として読めません");
    QCOMPARE(tree.topLevelItemCount(), 0);
    viewer.showValue({"j"}, {json}, 1);
    tabs.setCurrentIndex(4);
    QTRY_COMPARE(tree.topLevelItemCount(), 1);
    QCOMPARE(tree.topLevelItem(0)->text(1), "[6,000]");
    QVERIFY2(!summary.text().contains("テキストは"), qPrintable(summary.text()));
    viewer.showValue({"j"}, {large}, 1);
    QVERIFY2(summary.text().contains("テキストは先頭の16 MBのみ"), qPrintable(summary.text()));
    auto &text = control<ValueTextBox>(viewer, "cellText");
    text.selectAll();
    QVERIFY(text.selectedValue().toStdString() == large.substr(0, large.size() - 3)); // no half character
    tabs.setCurrentIndex(4); // and it goes while it is read
}

void GridTest::bytesAreReadInAChosenCharacterSet()
{
    CellViewer viewer(nullptr);
    viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    viewer.showValue({"b", FieldKind::Binary}, {"0x93fa967b"}, 1);
    auto &sets = control<QComboBox>(viewer, "cellCharacterSet");
    for (const auto &[set, text] : {std::pair("windows-31j", "日本"), {"UTF-16BE", "鏺陻"}}) {
        sets.setCurrentIndex(sets.findData(QByteArray(set)));
        Q_EMIT sets.activated(sets.currentIndex());
        QCOMPARE(control<ValueTextBox>(viewer, "cellText").text(), text);
    }
    viewer.showValue({"id", FieldKind::Binary}, {"0x11ec9c6f3a1b2c4d8000001122334455"}, 1);
    QVERIFY(control<QLabel>(viewer, "cellSummary")
                .text()
                .contains("UUID 11ec9c6f-3a1b-2c4d-8000-001122334455 (時刻を入れ替えたものなら "
                          "3a1b2c4d-9c6f-11ec-8000-001122334455)"));
}

void GridTest::sortsByValue()
{
    const auto check = [](FieldKind kind, const Values &sorted) {
        std::vector<int> rising(sorted.size());
        std::iota(rising.begin(), rising.end(), 0);
        const std::vector<int> falling(rising.rbegin(), rising.rend());
        QCOMPARE(order({sorted.rbegin(), sorted.rend()}, kind, Qt::AscendingOrder), falling);
        QCOMPARE(order(sorted, kind, Qt::AscendingOrder), rising);
        QCOMPARE(order(sorted, kind, Qt::DescendingOrder), falling);
    };
    check(FieldKind::Number, {"-1e300", "-10", "-9.5", "0", "1e-300", "0.25", "2", "10", "1e3", "2e20"});
    check(FieldKind::Number, {"-18446744073709551614", "-18446744073709551613", "9007199254740992",
                              "9007199254740993", "18446744073709551615"}); // beyond a double
    check(FieldKind::Number, {"1.00000000000000000000000001", "1.00000000000000000000000002", "00001.1"});
    check(FieldKind::Text, {"", "10", "9", "Alpha", "beta", "GAMMA", "日本", "日本語"});
    // Alike for longer than a key.
    check(FieldKind::Text, {"same beginning A", "same beginning b", "same beginning C"});
}

void GridTest::equalRowsKeepTheServersOrderBothWays()
{
    const Values values{"b", std::nullopt, "", "b", std::nullopt, "B"};
    QCOMPARE(order(values, FieldKind::Text, Qt::AscendingOrder), (std::vector{1, 4, 2, 0, 3, 5}));
    QCOMPARE(order(values, FieldKind::Text, Qt::DescendingOrder), (std::vector{0, 3, 5, 2, 1, 4}));
    const Values numbers{"1.0", std::nullopt, "01", "-0", "0.00"};
    QCOMPARE(order(numbers, FieldKind::Number, Qt::AscendingOrder), (std::vector{1, 3, 4, 0, 2}));
}

// Enough of them to be sorted in runs that are merged.
void GridTest::manyRowsComeOutLikeAnOrdinarySort()
{
    Values values;
    for (int i = 0; i < 50001; ++i)
        values.push_back(std::to_string(i * 7919 % 10007));
    std::vector<int> expected(values.size());
    std::iota(expected.begin(), expected.end(), 0);
    std::ranges::stable_sort(expected, {},
                             [&](int i) { return std::stoi(*values[static_cast<std::size_t>(i)]); });
    QCOMPARE(order(values, FieldKind::Number, Qt::AscendingOrder), expected);
}

void GridTest::rowsThatArriveLeaveACopyAlone()
{
    PackedRows rows(1);
    const std::string value(10000, 'x');
    const Cell first{"first"}, second{value};
    rows.append({&first, 1});
    const PackedRows copy = rows; // as a sort reads it in a thread of its own
    const std::size_t bytes = copy.allocatedBytes();
    rows.append({&second, 1});
    RowBlock block(1);
    block.beginRow();
    block.addNull();
    rows.append(std::move(block));
    QCOMPARE(rows.rowCount(), 3);
    QCOMPARE(copy.rowCount(), 1);
    QCOMPARE(copy.allocatedBytes(), bytes);
}

void GridTest::everyValueSurvives()
{
    using enum CopyFormat;
    constexpr auto text = FieldKind::Text, number = FieldKind::Number, binary = FieldKind::Binary;
    const auto check = [](const char *name, CopyFormat format, FieldKind kind, const QByteArray &value,
                          const char *expected) {
        const std::string copy = copiedValue(format, Cell{value.toStdString()}, kind);
        QVERIFY2(copy == expected, name);
    };
    check("tab: tab inside", TabSeparated, text, "a\tb", "\"a\tb\"");
    check("tab: line break and quote", TabSeparated, text, "a\"\nb", "\"a\"\"\nb\"");
    check("tab: quote at the start", TabSeparated, text, "\"x", "\"\"\"x\"");
    check("csv: comma", Csv, text, "a,b", "\"a,b\"");
    check("csv: empty is not NULL", Csv, text, "", "\"\"");
    check("markdown: pipe and break", Markdown, text, "a|b\r\nc", "a\\|b<br>c");
    check("markdown: markup stays text", Markdown, text, "<b>\\", "\\<b>\\\\");
    check("json: control characters", Json, text, QByteArray("a\"\\\n\t\x01\0b", 8),
          "\"a\\\"\\\\\\n\\t\\u0001\\u0000b\"");
    check("json: number", Json, number, "-0.5e+20", "-0.5e+20");
    check("json: zeros in front are no number", Json, number, "007", "\"007\"");
    check("insert: quote and backslash", Insert, text, "it's \\n", "'it''s \\\\n'");
    check("insert: zero byte and line breaks", Insert, text, QByteArray("\0\r\n\x1a", 4), "'\\0\\r\\n\\Z'");
    check("insert: no number", Insert, number, "1 or 1", "'1 or 1'");
    check("insert: hex literal", Insert, binary, "0x00fF", "0x00fF");
    check("insert: binary with an odd digit", Insert, binary, "0x123", "'0x123'");
    check("insert: text that looks like hex", Insert, text, "0x41", "'0x41'");
}

void GridTest::wholeTexts()
{
    using enum CopyFormat;
    const std::vector<Field> fields{{"id", FieldKind::Number}, {"na|me"}};
    const Cell first[] = {{"1"}, {{}, true}}, second[] = {{"2"}, {""}};
    const auto check = [&](CopyFormat format, const char *expected, const char *ofNoRows) {
        GridCopy copy(format, fields, "ta`ble"), empty(format, fields, "ta`ble");
        copy.addRow(first);
        copy.addRow(second);
        QCOMPARE(std::move(copy).finish(), std::string(expected));
        QCOMPARE(std::move(empty).finish(), std::string(ofNoRows));
    };
    check(TabSeparated, "1\tNULL\n2\t", "");
    check(TabSeparatedWithHeader, "id\tna|me\n1\tNULL\n2\t\n", "id\tna|me\n");
    check(Csv, "id,na|me\n1,\n2,\"\"\n", "id,na|me\n");
    check(Markdown, "| id | na\\|me |\n| ---: | --- |\n| 1 | NULL |\n| 2 |  |\n",
          "| id | na\\|me |\n| ---: | --- |\n");
    check(Json, "[\n  {\"id\": 1, \"na|me\": null},\n  {\"id\": 2, \"na|me\": \"\"}\n]\n", "[]\n");
    check(Insert,
          "INSERT INTO `ta``ble` (`id`, `na|me`) VALUES (1, NULL);\n"
          "INSERT INTO `ta``ble` (`id`, `na|me`) VALUES (2, '');\n",
          "");
}

void GridTest::bytesAreShownInShortWholeLines()
{
    QCOMPARE(hexDump(bytesOfLiteral("0x414200fF")),
             "00000000 41 42 00 ff" + std::string(1 + 3 * 12, ' ') + "  AB..\n");
    QCOMPARE(bytesOfLiteral("0x4"), std::string("0x4"));
    QCOMPARE(withShortLines("あいう\nえ", 2).text, std::string("あい\nう\nえ"));
    QCOMPARE(hexDump(std::string(17, 'x')).substr(76, 11), std::string("00000010 78"));
}

QTEST_MAIN(GridTest)
#include "test_grid.moc"
