#include "server/keyedrows.h"

#include "controls/lists/filterline.h"
#include "controls/window/building.h"

#include <QFont>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace {

constexpr qsizetype mostShown = 300; // characters of a cell

// As comparable(), which takes ten times as long: there are thousands of rows, and each key asks them.
bool holds(const QString &cell, const QString &filter)
{
    const bool isAscii = std::ranges::all_of(cell, [](QChar c) { return c.unicode() < 128; });
    return isAscii ? cell.contains(filter, Qt::CaseInsensitive) : comparable(cell).contains(filter);
}

// QString::toDouble() takes ten times as long.
double numberOf(const QString &text)
{
    std::array<char, 40> signs{};
    const qsizetype length = std::min<qsizetype>(text.size(), signs.size());
    std::transform(text.begin(), text.begin() + length, signs.begin(), [](QChar c) { return c.toLatin1(); });
    double number = 0;
    const auto end = std::from_chars(signs.data(), signs.data() + length, number);
    const bool isNumber =
        end.ec == std::errc() && end.ptr == signs.data() + text.size() && !std::isnan(number);
    return isNumber ? number : -std::numeric_limits<double>::infinity();
}

} // namespace

KeyedTable::KeyedTable(std::vector<KeyedRow> all)
    : rows(std::move(all))
{
    places.reserve(static_cast<qsizetype>(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i)
        places.insert(rows[i].key, static_cast<int>(i));
}

KeyedRows::KeyedRows(std::vector<KeyedColumn> columns, QObject *parent)
    : QAbstractTableModel(parent)
    , m_columns(std::move(columns))
{
}

int KeyedRows::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_order.size());
}

int KeyedRows::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

const KeyedRow &KeyedRows::row(int shown) const
{
    return m_rows[static_cast<std::size_t>(m_order[static_cast<std::size_t>(shown)])];
}

QVariant KeyedRows::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const KeyedRow &shown = row(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return visibleItem(shown.cells.value(index.column()).left(mostShown).simplified());
    case Qt::ToolTipRole:
        return plainTip(shown.cells.value(index.column()).left(2000));
    case Qt::TextAlignmentRole:
        return QVariant(
            Qt::AlignVCenter |
            (m_columns[static_cast<std::size_t>(index.column())].isNumber ? Qt::AlignRight : Qt::AlignLeft));
    case Qt::FontRole:
        if (shown.isMarked) {
            QFont bold;
            bold.setBold(true);
            return bold;
        }
        return {};
    case KeyRole:
        return shown.key;
    default:
        return {};
    }
}

QVariant KeyedRows::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    return m_columns[static_cast<std::size_t>(section)].title;
}

bool KeyedRows::isShown(const KeyedRow &row) const
{
    if (m_condition && !m_condition(row))
        return false;
    return m_filter.isEmpty() ||
           std::ranges::any_of(row.cells, [this](const QString &cell) { return holds(cell, m_filter); });
}

KeyedRows::Order KeyedRows::wantedOrder() const
{
    Order order;
    for (int i = 0; i < storedCount(); ++i)
        if (isShown(m_rows[static_cast<std::size_t>(i)]))
            order.push_back(i);
    if (m_sortedColumn < 0)
        return order;
    const bool isNumber = m_columns[static_cast<std::size_t>(m_sortedColumn)].isNumber;
    std::vector<double> numbers(isNumber ? m_rows.size() : 0);
    if (isNumber)
        std::ranges::transform(m_rows, numbers.begin(),
                               [this](const KeyedRow &row) { return numberOf(row.cells[m_sortedColumn]); });
    const auto compare = [&](int left, int right) {
        const auto a = static_cast<std::size_t>(left), b = static_cast<std::size_t>(right);
        if (isNumber)
            return numbers[a] < numbers[b] ? -1 : numbers[a] > numbers[b] ? 1 : 0;
        return m_rows[a].cells[m_sortedColumn].compare(m_rows[b].cells[m_sortedColumn], Qt::CaseInsensitive);
    };
    std::ranges::stable_sort(order, [&](int left, int right) {
        return m_direction == Qt::AscendingOrder ? compare(left, right) < 0 : compare(left, right) > 0;
    });
    return order;
}

// Rows of the same number in another order.
void KeyedRows::rearrange(Order order)
{
    if (order == m_order)
        return;
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    std::vector<int> places(m_rows.size(), -1); // of the stored rows
    for (std::size_t shown = 0; shown < order.size(); ++shown)
        places[static_cast<std::size_t>(order[shown])] = static_cast<int>(shown);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    for (const QModelIndex &each : before)
        after << index(places[static_cast<std::size_t>(m_order[static_cast<std::size_t>(each.row())])],
                       each.column());
    m_order = std::move(order);
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

// What goes is moved to the end and taken off at once, what comes is put there at once: row by row, views
// would need seconds for thousands.
void KeyedRows::show(Order order)
{
    std::vector<bool> wasShown(m_rows.size()), isWanted(m_rows.size());
    for (const int row : m_order)
        wasShown[static_cast<std::size_t>(row)] = true;
    for (const int row : order)
        isWanted[static_cast<std::size_t>(row)] = true;
    Order staying, going, coming;
    for (const int row : m_order)
        (isWanted[static_cast<std::size_t>(row)] ? staying : going).push_back(row);
    for (const int row : order)
        if (!wasShown[static_cast<std::size_t>(row)])
            coming.push_back(row);
    if (!going.empty()) {
        Order moved = staying;
        moved.insert(moved.end(), going.begin(), going.end());
        rearrange(std::move(moved));
        beginRemoveRows({}, static_cast<int>(staying.size()), rowCount() - 1);
        m_order = staying;
        endRemoveRows();
    }
    if (!coming.empty()) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(coming.size()) - 1);
        m_order.insert(m_order.end(), coming.begin(), coming.end());
        endInsertRows();
    }
    rearrange(std::move(order));
}

// Where the stored rows stand there, -1 for those that are gone. Most stand behind the one before them, and
// are found without their key.
std::vector<int> KeyedRows::placesIn(const KeyedTable &table) const
{
    std::vector<int> places;
    places.reserve(m_rows.size());
    std::size_t next = 0;
    for (const KeyedRow &row : m_rows) {
        const bool isNext = next < table.rows.size() && table.rows[next].key == row.key;
        places.push_back(isNext ? static_cast<int>(next) : table.places.value(row.key, -1));
        next = static_cast<std::size_t>(std::max(0, places.back() + 1));
    }
    return places;
}

// No row that is shown is gone.
void KeyedRows::replaceRows(KeyedTable table, const std::vector<int> &places)
{
    const auto isSame = [&](int shown) {
        const auto stored = static_cast<std::size_t>(m_order[static_cast<std::size_t>(shown)]);
        const KeyedRow &before = m_rows[stored],
                       &after = table.rows[static_cast<std::size_t>(places[stored])];
        return before.cells == after.cells && before.isMarked == after.isMarked;
    };
    int first = 0, last = rowCount() - 1;
    while (first <= last && isSame(first))
        ++first;
    while (last > first && isSame(last))
        --last;
    for (int &stored : m_order)
        stored = places[static_cast<std::size_t>(stored)];
    m_rows = std::move(table.rows);
    m_places = std::move(table.places);
    if (first <= last)
        Q_EMIT dataChanged(index(first, 0), index(last, columnCount() - 1));
}

void KeyedRows::update(KeyedTable table)
{
    const std::vector<int> places = placesIn(table);
    Order staying;
    for (const int row : m_order)
        if (places[static_cast<std::size_t>(row)] >= 0)
            staying.push_back(row);
    show(std::move(staying));
    replaceRows(std::move(table), places);
    show(wantedOrder());
}

void KeyedRows::setFilter(const QString &text)
{
    m_filter = comparable(text.trimmed());
    show(wantedOrder());
}

void KeyedRows::setCondition(std::function<bool(const KeyedRow &)> condition)
{
    m_condition = std::move(condition);
    show(wantedOrder());
}

void KeyedRows::sort(int column, Qt::SortOrder order)
{
    m_sortedColumn = column < columnCount() ? column : -1;
    m_direction = order;
    show(wantedOrder());
}
