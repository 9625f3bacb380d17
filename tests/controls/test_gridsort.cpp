#include "controls/grid/gridsort.h"

#include <QTest>

#include <algorithm>
#include <numeric>
#include <optional>

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

class TestGridSort : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sortsByValue();
    void equalRowsKeepTheServersOrderBothWays();
    void manyRowsComeOutLikeAnOrdinarySort();
    void rowsThatArriveLeaveACopyAlone();
};

void TestGridSort::sortsByValue()
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

void TestGridSort::equalRowsKeepTheServersOrderBothWays()
{
    const Values values{"b", std::nullopt, "", "b", std::nullopt, "B"};
    QCOMPARE(order(values, FieldKind::Text, Qt::AscendingOrder), (std::vector{1, 4, 2, 0, 3, 5}));
    QCOMPARE(order(values, FieldKind::Text, Qt::DescendingOrder), (std::vector{0, 3, 5, 2, 1, 4}));
    const Values numbers{"1.0", std::nullopt, "01", "-0", "0.00"};
    QCOMPARE(order(numbers, FieldKind::Number, Qt::AscendingOrder), (std::vector{1, 3, 4, 0, 2}));
}

// Enough of them to be sorted in runs that are merged.
void TestGridSort::manyRowsComeOutLikeAnOrdinarySort()
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

void TestGridSort::rowsThatArriveLeaveACopyAlone()
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

QTEST_GUILESS_MAIN(TestGridSort)
#include "test_gridsort.moc"
