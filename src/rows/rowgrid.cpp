#include "rows/rowgrid.h"

#include "rows/celleditors.h"
#include "rows/rowkeys.h"
#include "rows/valueeditor.h"

#include <algorithm>

using Kind = RowChange::Kind;

RowGrid::RowGrid(FlexGrid &grid, const Runner &runner)
    : QObject(&grid)
    , m_grid(grid)
    , m_runner(runner)
{
    m_grid.setItemDelegate(new RowDelegate(*this));
    m_grid.installEventFilter(new RowKeys(*this));
    connect(&m_grid, &FlexGrid::doubleClicked, this, &RowGrid::editCell);
    // Other rows come: these end with their edits.
    connect(m_grid.model(), &QAbstractItemModel::modelReset, this, [this] {
        m_isBegun = false;
        m_edits.clear();
        m_shown.clear();
        Q_EMIT changed();
    });
}

RowGrid::~RowGrid()
{
    m_grid.setEdits(nullptr);
}

void RowGrid::begin(const TableShape &table)
{
    m_table = table;
    m_readRows = m_grid.rows().rowCount();
    m_edits.clear();
    m_shown.clear();
    m_isBegun = true;
    m_grid.setEdits(mayWrite() ? this : nullptr);
    Q_EMIT changed();
}

std::vector<RowChange> RowGrid::changes() const
{
    std::vector<RowChange> changes;
    for (const Kind kind : {Kind::Deleted, Kind::Changed, Kind::Added})
        for (const auto &[row, edit] : m_edits.all())
            if (edit.kind == kind)
                changes.push_back(
                    {kind, row, kind == Kind::Added ? std::vector<RowValue>() : readRow(row), edit.values});
    return changes;
}

void RowGrid::discard()
{
    m_edits.clear();
    rebuild({}, {});
}

void RowGrid::take(const std::vector<RowChange> &changes, const SaveReport &report)
{
    std::map<int, std::vector<RowValue>> replaced;
    std::set<int> gone;
    for (const auto &[index, values] : report.saved) {
        const RowChange &change = changes[index];
        if (values.empty())
            gone.insert(change.row);
        else
            replaced[change.row] = values;
        m_edits.forget(change.row);
    }
    if (report.refused)
        m_edits.refuse(changes[*report.refused].row, report.words);
    rebuild(replaced, gone);
}

void RowGrid::resolve(const std::vector<RowChange> &changes, const std::vector<RowConflict> &conflicts,
                      const std::vector<bool> &keepsMine)
{
    std::map<int, std::vector<RowValue>> replaced;
    std::set<int> gone;
    std::vector<std::map<int, RowValue>> madeAgain;
    for (std::size_t i = 0; i < conflicts.size(); ++i) {
        const RowChange &change = changes[conflicts[i].change];
        const bool isGone = conflicts[i].theirs.empty();
        if (isGone && keepsMine[i] && change.kind == Kind::Changed) {
            std::map<int, RowValue> &values = madeAgain.emplace_back();
            for (int index = 0; index < static_cast<int>(m_table.columns.size()); ++index)
                if (!column(index).isGenerated)
                    values[index] = value(change.row, index);
        }
        if (!keepsMine[i] || isGone)
            m_edits.forget(change.row);
        if (isGone)
            gone.insert(change.row);
        else
            replaced[change.row] = conflicts[i].theirs;
    }
    rebuild(replaced, gone);
    for (const auto &values : madeAgain)
        addRowWith(values);
}

// The rows that were read, with others in their places and without those that are gone; added rows follow.
void RowGrid::rebuild(const std::map<int, std::vector<RowValue>> &replaced, const std::set<int> &gone)
{
    const PackedRows before = m_grid.rows();
    PackedRows after(before.columnCount());
    std::vector<Cell> cells;
    RowEdits moved;
    int readRows = 0;
    for (int row = 0; row < before.rowCount(); ++row) {
        const auto values = replaced.find(row);
        const bool isNowRead = !isAdded(row) || values != replaced.end();
        const RowEdits::Edit *edit = m_edits.of(row);
        if (gone.contains(row) || (isAdded(row) && !edit && !isNowRead))
            continue;
        before.read(row, cells);
        std::vector<QByteArray> bytes;
        if (values != replaced.end()) {
            bytes.resize(cells.size());
            for (std::size_t index = 0; index < cells.size(); ++index) {
                const RowValue &value = values->second[index];
                bytes[index] = value ? cellBytes(m_table.columns[index], *value) : QByteArray();
                cells[index] = {{bytes[index].constData(), static_cast<std::size_t>(bytes[index].size())},
                                !value};
            }
        }
        if (edit)
            moved.put(after.rowCount(), *edit);
        after.append(cells);
        // Rows that were added and saved follow those that were read, before those that wait.
        readRows += isNowRead ? 1 : 0;
    }
    m_edits = std::move(moved);
    m_readRows = readRows;
    m_shown.clear();
    m_grid.replaceRows(std::move(after));
    update();
}

void RowGrid::update()
{
    m_grid.editsChanged();
    Q_EMIT changed();
}

std::vector<RowValue> RowGrid::readRow(int row) const
{
    std::vector<Cell> cells;
    const PackedRows rows = m_grid.rows();
    rows.read(row, cells);
    std::vector<RowValue> values;
    for (std::size_t index = 0; index < cells.size(); ++index)
        values.push_back(valueOfCell(m_table.columns[index], cells[index]));
    return values;
}

RowValue RowGrid::value(int row, int index) const
{
    if (const RowEdits::Edit *edit = m_edits.of(row))
        if (const auto found = edit->values.find(index); found != edit->values.end())
            return found->second;
    return readRow(row)[static_cast<std::size_t>(index)];
}

bool RowGrid::setValue(int row, int index, const RowValue &value)
{
    if (!mayEdit(row, index))
        return false;
    m_edits.set(row, index, value, readRow(row)[static_cast<std::size_t>(index)]);
    m_shown.erase({row, index});
    if (value)
        m_shown[{row, index}] = cellBytes(column(index), *value);
    update();
    return true;
}

void RowGrid::apply(int row, std::vector<Cell> &cells) const
{
    const RowEdits::Edit *edit = m_edits.of(row);
    if (!edit)
        return;
    for (const auto &[index, value] : edit->values) {
        Cell &cell = cells[static_cast<std::size_t>(index)];
        cell = {{}, !value};
        if (!value)
            continue;
        const auto [shown, isNew] = m_shown.try_emplace({row, index});
        if (isNew)
            shown->second = cellBytes(column(index), *value);
        cell.bytes = {shown->second.constData(), static_cast<std::size_t>(shown->second.size())};
    }
}

bool RowGrid::mayEdit(int row, int index) const
{
    const RowEdits::Edit *edit = m_edits.of(row);
    return mayWrite() && !column(index).isGenerated && column(index).kind != ValueKind::Opaque &&
           !(edit && edit->kind == Kind::Deleted);
}

GridEdits::Mark RowGrid::mark(int row, int index) const
{
    const RowEdits::Edit *edit = m_edits.of(row);
    if (!edit)
        return Mark::None;
    if (!edit->refusal.isEmpty())
        return Mark::Refused;
    const bool hasValue = edit->values.contains(index);
    switch (edit->kind) {
    case Kind::Deleted:
        return Mark::Deleted;
    case Kind::Added:
        return hasValue ? Mark::Added : needsValue(column(index)) ? Mark::Required : Mark::Default;
    case Kind::Changed:
        break;
    }
    return hasValue ? Mark::Changed : Mark::None;
}

QString RowGrid::tip(int row) const
{
    const RowEdits::Edit *edit = m_edits.of(row);
    return edit ? edit->refusal : QString();
}

bool RowGrid::takesFile(int row, int index) const
{
    return mayEdit(row, index) && ::takesFile(column(index));
}

QString RowGrid::load(int row, int index, const QByteArray &bytes)
{
    if (m_runner.isRunning())
        return QStringLiteral("ほかの処理を実行しています。");
    if (const QString refusal = whyNoValue(column(index), bytes); !refusal.isEmpty())
        return refusal;
    return setValue(row, index, bytes) ? QString() : QStringLiteral("この値は変更できません。");
}

void RowGrid::addRow()
{
    addRowWith({});
}

// Without the values that must be its own: of the key, where the server makes them.
void RowGrid::duplicateRow()
{
    const QModelIndex cell = m_grid.currentIndex();
    if (!cell.isValid() || !mayWrite())
        return;
    const int row = m_grid.storedRow(cell.row());
    std::map<int, RowValue> values;
    for (int index = 0; index < static_cast<int>(m_table.columns.size()); ++index)
        if (!column(index).isGenerated && !column(index).isAutoIncrement)
            values[index] = value(row, index); // also what the grid itself does not edit
    addRowWith(values);
}

void RowGrid::addRowWith(const std::map<int, RowValue> &values)
{
    if (!mayWrite())
        return;
    m_edits.add(m_grid.rows().rowCount(), values);
    m_grid.appendRow(std::vector<Cell>(m_table.columns.size(), Cell{{}, true}));
    update();
    const int at = std::max(0, m_grid.currentIndex().column());
    // With Ctrl held down, the view itself would only add the cell to those that are selected.
    const QModelIndex cell = m_grid.model()->index(m_grid.model()->rowCount() - 1, at);
    m_grid.selectionModel()->setCurrentIndex(cell, QItemSelectionModel::ClearAndSelect);
}

std::set<int> RowGrid::selectedRows() const
{
    std::set<int> rows;
    for (const QItemSelectionRange &range : m_grid.selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.insert(m_grid.storedRow(row));
    return rows;
}

void RowGrid::deleteRows()
{
    if (!mayWrite())
        return;
    bool hasDropped = false;
    for (const int row : selectedRows())
        hasDropped |= !m_edits.toggleDeletion(row) && isAdded(row);
    if (hasDropped)
        rebuild({}, {}); // rows that were added go at once
    else
        update();
}

void RowGrid::setNull()
{
    setSelected({}, QStringLiteral("NULLを許さない列です: "),
                [](const TableColumn &column) { return column.isNullable; });
}

void RowGrid::setEmptyText()
{
    setSelected(QByteArray(), QStringLiteral("空の文字列を入れられない列です: "), hasEmptyText);
}

void RowGrid::setSelected(const RowValue &value, const QString &refusal,
                          const std::function<bool(const TableColumn &)> &mayHold)
{
    QStringList against;
    for (const QModelIndex &cell : m_grid.selectionModel()->selectedIndexes()) {
        if (!mayHold(column(cell.column())))
            against << column(cell.column()).name;
        else if (!setValue(m_grid.storedRow(cell.row()), cell.column(), value))
            Q_EMIT told(QStringLiteral("この列は変更できません: ") + column(cell.column()).name);
    }
    against.removeDuplicates();
    if (!against.isEmpty())
        Q_EMIT told(refusal + against.join(QStringLiteral(", ")));
}

// From the current cell on; lines beyond the last row become new ones. Values are taken as they stand: NULL
// is a text, too, except where the grid itself has copied it.
void RowGrid::paste(const QString &block)
{
    const QModelIndex from = m_grid.currentIndex();
    if (!mayWrite() || block.isEmpty())
        return;
    int shown = from.isValid() ? from.row() : m_grid.model()->rowCount();
    const int first = from.isValid() ? from.column() : 0;
    int skipped = 0;
    for (const QStringList &line : cellsOfBlock(block)) {
        if (shown >= m_grid.model()->rowCount())
            addRow();
        const int row = m_grid.storedRow(shown++);
        for (qsizetype i = 0; i < line.size(); ++i) {
            const int index = first + static_cast<int>(i);
            if (index >= static_cast<int>(m_table.columns.size())) {
                ++skipped;
                continue;
            }
            const bool isNull = line[i] == u"NULL" && column(index).isNullable;
            if ((!isNull && !whyNotEdited(column(index), line[i]).isEmpty()) ||
                !setValue(row, index, isNull ? RowValue() : editedValue(column(index), line[i])))
                ++skipped;
        }
    }
    if (skipped > 0)
        Q_EMIT told(
            QStringLiteral("貼り付けられない列や値があるため、%1 個の値を入れませんでした。").arg(skipped));
}

void RowGrid::editCell(const QModelIndex &cell)
{
    if (!cell.isValid() || !m_isBegun)
        return;
    const int row = m_grid.storedRow(cell.row());
    if (!mayWrite()) {
        Q_EMIT told(m_table.whyReadOnly);
    } else if (!mayEdit(row, cell.column())) {
        Q_EMIT told(column(cell.column()).isGenerated ? QStringLiteral("生成列の値はサーバーが決めます。")
                                                      : QStringLiteral("この値は表では変更できません。"));
    } else if (needsWindow(column(cell.column()), value(row, cell.column()))) {
        if (const auto edited = askForValue(&m_grid, column(cell.column()), value(row, cell.column())))
            setValue(row, cell.column(), *edited);
    } else {
        m_grid.edit(cell);
    }
}
