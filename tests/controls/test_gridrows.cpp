#include "controls/grid/gridcopy.h"
#include "controls/grid/gridsort.h"
#include "controls/grid/packedrows.h"

#include <QTest>

#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>

namespace {

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

// The rows behind a grid: their order, and the forms in which they leave it.
class GridRowsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sortsByValue();
    void equalRowsKeepTheServersOrderBothWays();
    void manyRowsComeOutLikeAnOrdinarySort();
    void rowsThatArriveLeaveACopyAlone();
    void everyValueSurvives();
    void wholeTexts();
};

void GridRowsTest::sortsByValue()
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

void GridRowsTest::equalRowsKeepTheServersOrderBothWays()
{
    const Values values{"b", std::nullopt, "", "b", std::nullopt, "B"};
    QCOMPARE(order(values, FieldKind::Text, Qt::AscendingOrder), (std::vector{1, 4, 2, 0, 3, 5}));
    QCOMPARE(order(values, FieldKind::Text, Qt::DescendingOrder), (std::vector{0, 3, 5, 2, 1, 4}));
    const Values numbers{"1.0", std::nullopt, "01", "-0", "0.00"};
    QCOMPARE(order(numbers, FieldKind::Number, Qt::AscendingOrder), (std::vector{1, 3, 4, 0, 2}));
}

// Enough of them to be sorted in runs that are merged.
void GridRowsTest::manyRowsComeOutLikeAnOrdinarySort()
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

void GridRowsTest::rowsThatArriveLeaveACopyAlone()
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

void GridRowsTest::everyValueSurvives()
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

void GridRowsTest::wholeTexts()
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

QTEST_GUILESS_MAIN(GridRowsTest)
#include "test_gridrows.moc"
