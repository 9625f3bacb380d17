#include "controls/gridsort.h"
#include "support/rows.h"

#include <QTest>

#include <algorithm>
#include <numeric>
#include <optional>

namespace {

using Values = std::vector<std::optional<std::string>>;

std::vector<int> order(const Values &values, FieldKind kind, Qt::SortOrder direction)
{
    PackedRows rows(1);
    for (const auto &value : values) {
        const Cell cell{value ? std::string_view(*value) : std::string_view(), !value};
        rows.append({&cell, 1});
    }
    std::vector<int> result;
    for (const auto row : sortedOrder(rows, 0, kind, direction))
        result.push_back(static_cast<int>(row));
    return result;
}

} // namespace

class TestGridSort : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sortsByValue_data();
    void sortsByValue();
    void equalRowsKeepTheServersOrderBothWays();
    void manyRowsComeOutLikeAnOrdinarySort();
    void rowsThatArriveLeaveACopyAlone();
};

void TestGridSort::sortsByValue_data()
{
    QTest::addColumn<FieldKind>("kind");
    QTest::addColumn<std::vector<std::string>>("sorted");
    using List = std::vector<std::string>;
    row("numbers, not texts", FieldKind::Number, List{"-10", "-9.5", "0", "0.25", "2", "10", "1e3"});
    row("beyond a double", FieldKind::Number,
        List{"-18446744073709551614", "-18446744073709551613", "9007199254740992", "9007199254740993",
             "18446744073709551615"});
    row("long decimals", FieldKind::Number,
        List{"1.00000000000000000000000001", "1.00000000000000000000000002", "00001.1"});
    row("exponents", FieldKind::Number, List{"-1e300", "1e-300", "5", "1e20", "2e20"});
    row("letters without case", FieldKind::Text, List{"", "Alpha", "beta", "GAMMA", "日本", "日本語"});
    row("alike for longer than a key", FieldKind::Text,
        List{"same beginning A", "same beginning b", "same beginning C"});
    row("digits of a text", FieldKind::Text, List{"10", "9"});
}

void TestGridSort::sortsByValue()
{
    QFETCH(FieldKind, kind);
    QFETCH(std::vector<std::string>, sorted);
    const Values backwards(sorted.rbegin(), sorted.rend());
    const Values forwards(sorted.begin(), sorted.end());
    std::vector<int> rising(sorted.size());
    std::iota(rising.begin(), rising.end(), 0);
    const std::vector<int> falling(rising.rbegin(), rising.rend());
    QCOMPARE(order(backwards, kind, Qt::AscendingOrder), falling);
    QCOMPARE(order(forwards, kind, Qt::AscendingOrder), rising);
    QCOMPARE(order(forwards, kind, Qt::DescendingOrder), falling);
}

void TestGridSort::equalRowsKeepTheServersOrderBothWays()
{
    const Values values{"b", std::nullopt, "", "b", std::nullopt, "B"};
    QCOMPARE(order(values, FieldKind::Text, Qt::AscendingOrder), (std::vector{1, 4, 2, 0, 3, 5}));
    QCOMPARE(order(values, FieldKind::Text, Qt::DescendingOrder), (std::vector{0, 3, 5, 2, 1, 4}));
    const Values numbers{"1.0", std::nullopt, "01", "-0", "0.00"};
    QCOMPARE(order(numbers, FieldKind::Number, Qt::AscendingOrder), (std::vector{1, 3, 4, 0, 2}));
}

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
    QCOMPARE(copy.allocatedBytes(), bytes);
}

QTEST_GUILESS_MAIN(TestGridSort)
#include "test_gridsort.moc"
