#pragma once

#include "controls/grid/gridedits.h"
#include "controls/grid/packedrows.h"
#include "core/sql/recordset.h"

#include <QAbstractTableModel>

// The rows of a FlexGrid: packed bytes, text made on demand, an order of rows beside the server's.
// Rows are counted in the order shown; rows that were appended but not revealed count in rows() only.
class FlexGridModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Role { IsNullRole = Qt::UserRole + 1, MarkRole };

    explicit FlexGridModel(QObject *parent);
    ~FlexGridModel() override;

    void setFields(const std::vector<Field> &fields); // and no rows
    void append(RowBlock &&block) { m_rows.append(std::move(block)); }
    void append(std::span<const Cell> cells) { m_rows.append(cells), m_cachedRow = -1; }
    // Lets the view see what was appended.
    void reveal();
    // Rows of the same columns in place of all others; those that stay keep their places.
    void replaceRows(PackedRows rows);

    // Null: what was read is what is shown. Until the next fields are set, or it ends.
    void setEdits(GridEdits *edits);
    GridEdits *edits() const { return m_edits; }
    void editsChanged();
    int storedRow(int shownRow) const; // its place in rows()

    const std::vector<Field> &fields() const { return m_fields; }
    const PackedRows &rows() const { return m_rows; }
    // All cells of a row; valid until rows are appended, the order changes or another row is asked for.
    const std::vector<Cell> &cells(int row) const;
    const Cell &cell(int row, int column) const { return cells(row)[static_cast<std::size_t>(column)]; }

    // By a column, or -1 for the server's order. Large grids are sorted on a worker, sortDone() tells.
    void sortRows(int column, Qt::SortOrder direction);
    int sortedColumn() const { return m_sortedColumn; }
    Qt::SortOrder sortDirection() const { return m_sortDirection; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    void sortDone();

private:
    struct SortJob;
    void startJob(FieldKind kind);
    void finishJob(const SortJob *job);
    void giveUpJobs();
    void applyOrder(std::vector<std::uint32_t> order);

    std::vector<Field> m_fields;
    PackedRows m_rows;
    GridEdits *m_edits = nullptr;
    int m_shownRows = 0;
    std::vector<std::uint32_t> m_order; // shown row to stored row; rows beyond it stand where they are
    int m_sortedColumn = -1;
    Qt::SortOrder m_sortDirection = Qt::AscendingOrder;
    // Sorts under way; all but the last were given up and only come to their end.
    std::vector<std::unique_ptr<SortJob>> m_jobs;
    mutable int m_cachedRow = -1;
    mutable std::vector<Cell> m_cells;
};

// What a cell shows of a value: one line, cut after some length, line breaks as a mark.
QString cellLine(std::string_view bytes, std::size_t mostBytes);
