#include "controls/grid/gridsort.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>

namespace {

unsigned char folded(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + 32) : byte;
}

double valueOf(std::string_view text)
{
    double value = 0;
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range)
        return text.starts_with('-') ? -HUGE_VAL : HUGE_VAL;
    return result.ec == std::errc() && !std::isnan(value) ? value : 0;
}

// "-0012.50": sign, digits before and after the point. Without an exponent the digits decide exactly.
struct Decimal {
    bool isNegative = false;
    bool isPlain = false;
    std::string_view whole, fraction;

    explicit Decimal(std::string_view text)
    {
        isNegative = text.starts_with('-');
        if (isNegative || text.starts_with('+'))
            text.remove_prefix(1);
        isPlain = text.find_first_not_of("0123456789.") == text.npos;
        const std::size_t point = std::min(text.find('.'), text.size());
        whole = text.substr(0, point);
        fraction = text.substr(std::min(point + 1, text.size()));
        whole.remove_prefix(std::min(whole.find_first_not_of('0'), whole.size()));
        fraction = fraction.substr(0, fraction.find_last_not_of('0') + 1);
        if (whole.empty() && fraction.empty())
            isNegative = false; // "-0"
    }

    int compareSize(const Decimal &other) const
    {
        if (whole.size() != other.whole.size())
            return whole.size() < other.whole.size() ? -1 : 1;
        const int order = whole.compare(other.whole);
        return order != 0 ? order : fraction.compare(other.fraction);
    }
};

// A number that sorts like the cell, as far as its first bytes or its double value tell.
std::uint64_t keyOf(const Cell &cell, FieldKind kind)
{
    if (cell.isNull)
        return 0;
    if (kind == FieldKind::Number) {
        const auto bits = std::bit_cast<std::uint64_t>(valueOf(cell.bytes) + 0.0);
        constexpr std::uint64_t sign = std::uint64_t{1} << 63;
        return bits & sign ? ~bits : bits | sign;
    }
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < 8; ++i)
        key = key << 8 | (i < cell.bytes.size() ? folded(cell.bytes[i]) : 0u);
    return key;
}

struct Entry {
    std::uint64_t key;
    std::uint32_t row;
};

std::vector<Entry> keysOf(const PackedRows &rows, int column, FieldKind kind)
{
    std::vector<Entry> entries(static_cast<std::size_t>(rows.rowCount()));
    std::vector<Cell> cells;
    for (std::uint32_t row = 0; row < entries.size(); ++row) {
        rows.read(static_cast<int>(row), cells);
        entries[row] = {keyOf(cells[static_cast<std::size_t>(column)], kind), row};
    }
    return entries;
}

// A stable sort that can be given up between its runs.
void sortInRuns(std::vector<Entry> &entries, auto isBefore, const std::stop_token &stop)
{
    using Difference = std::ptrdiff_t;
    constexpr Difference firstRun = 16384;
    const Difference count = std::ssize(entries);
    const auto at = [&](Difference i) { return entries.begin() + std::min(i, count); };
    for (Difference i = 0; i < count && !stop.stop_requested(); i += firstRun)
        std::stable_sort(at(i), at(i + firstRun), isBefore);
    for (Difference run = firstRun; run < count; run *= 2)
        for (Difference i = 0; i + run < count && !stop.stop_requested(); i += 2 * run)
            std::inplace_merge(at(i), at(i + run), at(i + 2 * run), isBefore);
}

} // namespace

int compareNumbers(std::string_view left, std::string_view right)
{
    const Decimal a(left), b(right);
    if (a.isPlain && b.isPlain) {
        if (a.isNegative != b.isNegative)
            return a.isNegative ? -1 : 1;
        return a.isNegative ? b.compareSize(a) : a.compareSize(b);
    }
    const double x = valueOf(left), y = valueOf(right);
    return x < y ? -1 : x > y ? 1 : 0;
}

int compareTexts(std::string_view left, std::string_view right)
{
    const std::size_t length = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < length; ++i)
        if (const int difference = folded(left[i]) - folded(right[i]); difference != 0)
            return difference;
    return left.size() < right.size() ? -1 : left.size() > right.size() ? 1 : 0;
}

std::vector<std::uint32_t> sortedOrder(const PackedRows &rows, int column, FieldKind kind,
                                       Qt::SortOrder direction, const std::stop_token &stop)
{
    std::vector<Entry> entries = keysOf(rows, column, kind);
    const auto at = static_cast<std::size_t>(column);
    std::vector<Cell> cells, otherCells;
    const auto compare = [&](const Entry &left, const Entry &right) {
        if (left.key != right.key)
            return left.key < right.key ? -1 : 1;
        rows.read(static_cast<int>(left.row), cells);
        rows.read(static_cast<int>(right.row), otherCells);
        const Cell &a = cells[at], &b = otherCells[at];
        if (a.isNull || b.isNull)
            return int{b.isNull} - int{a.isNull};
        return kind == FieldKind::Number ? compareNumbers(a.bytes, b.bytes) : compareTexts(a.bytes, b.bytes);
    };
    if (direction == Qt::AscendingOrder)
        sortInRuns(
            entries, [&](auto &a, auto &b) { return compare(a, b) < 0; }, stop);
    else
        sortInRuns(
            entries, [&](auto &a, auto &b) { return compare(a, b) > 0; }, stop);
    if (stop.stop_requested())
        return {};
    std::vector<std::uint32_t> order(entries.size());
    std::ranges::transform(entries, order.begin(), &Entry::row);
    return order;
}
