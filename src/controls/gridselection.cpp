#include "controls/gridselection.h"

#include "controls/flexgridmodel.h"

#include <QItemSelection>

#include <algorithm>

namespace {

struct Span {
    int first, last;
};

// Sorted, none touching another.
std::vector<Span> merged(std::vector<Span> spans)
{
    std::ranges::sort(spans, {}, &Span::first);
    std::vector<Span> result;
    for (const Span &span : spans) {
        if (!result.empty() && span.first <= result.back().last + 1)
            result.back().last = std::max(result.back().last, span.last);
        else
            result.push_back(span);
    }
    return result;
}

bool coversAlike(const QItemSelection &selection)
{
    return std::ranges::all_of(selection, [&](const QItemSelectionRange &range) {
        return range.left() == selection.front().left() && range.right() == selection.front().right();
    });
}

bool isSelected(const QItemSelection &selection, int row, int column)
{
    return std::ranges::any_of(selection, [&](const QItemSelectionRange &range) {
        return row >= range.top() && row <= range.bottom() && column >= range.left() &&
               column <= range.right();
    });
}

} // namespace

QString copiedSelection(const FlexGridModel &model, const QItemSelection &selection, CopyFormat format,
                        const QString &table)
{
    if (selection.isEmpty())
        return {};
    std::vector<Span> rowSpans, columnSpans;
    for (const QItemSelectionRange &range : selection) {
        rowSpans.push_back({range.top(), range.bottom()});
        columnSpans.push_back({range.left(), range.right()});
    }
    std::vector<int> columns;
    for (const Span &span : merged(columnSpans))
        for (int column = span.first; column <= span.last; ++column)
            columns.push_back(column);
    rowSpans = merged(rowSpans);
    const bool isOneCell =
        columns.size() == 1 && rowSpans.size() == 1 && rowSpans[0].first == rowSpans[0].last;
    if (isOneCell && format == CopyFormat::TabSeparated) {
        const Cell &cell = model.cell(rowSpans[0].first, columns[0]);
        return cell.isNull ? QStringLiteral("NULL")
                           : QString::fromUtf8(cell.bytes.data(), static_cast<qsizetype>(cell.bytes.size()));
    }
    std::vector<Field> fields;
    for (const int column : columns)
        fields.push_back(model.fields()[static_cast<std::size_t>(column)]);
    GridCopy copy(format, std::move(fields), table.isEmpty() ? QStringLiteral("table_name") : table);
    // Cells that were not chosen stay empty where they only keep the others in their places. In a record they
    // would be values that no row has.
    const bool mayLeaveOut =
        format == CopyFormat::TabSeparated || format == CopyFormat::TabSeparatedWithHeader;
    const bool takesAll = !mayLeaveOut || coversAlike(selection);
    std::vector<Cell> cells(columns.size());
    for (const Span &span : rowSpans)
        for (int row = span.first; row <= span.last; ++row) {
            for (std::size_t i = 0; i < columns.size(); ++i)
                cells[i] =
                    takesAll || isSelected(selection, row, columns[i]) ? model.cell(row, columns[i]) : Cell{};
            copy.addRow(cells);
        }
    return QString::fromStdString(std::move(copy).finish());
}
