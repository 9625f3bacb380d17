#pragma once

#include "controls/grid/flexgrid.h"
#include "controls/grid/gridedits.h"
#include "controls/grid/packedrows.h"
#include "rows/rowedits.h"
#include "rows/rowsaver.h"

#include <QObject>

#include <functional>

// Editing of the rows that a grid shows, all of one table: keys, cell editors, marks, pasting. What was read
// stays in the grid as it was until it is saved.
class RowGrid : public QObject, private GridEdits {
    Q_OBJECT

public:
    // While the runner runs, what is saved must not change: no file is taken then.
    RowGrid(FlexGrid &grid, const Runner &runner);
    ~RowGrid() override;

    // The rows that the grid shows now are rows of the table. Without edits, until the next fields are set.
    void begin(const TableShape &table);
    bool isBegun() const { return m_isBegun; }
    const TableShape &table() const { return m_table; }
    int readRows() const { return m_isBegun ? m_readRows : 0; } // those that are on the server
    bool mayWrite() const { return m_isBegun && m_table.whyReadOnly.isEmpty(); }

    int changeCount() const { return m_edits.count(); }
    // In the order in which they are to be sent: what is deleted makes room first.
    std::vector<RowChange> changes() const;
    // All edits, or none of them any more.
    void discard();
    // Puts what a saving has come to over the rows that were read; `changes` are those that were saved.
    void take(const std::vector<RowChange> &changes, const SaveReport &report);
    // Edits over what somebody else has saved meanwhile: mine stay (to be saved over theirs), or go.
    void resolve(const std::vector<RowChange> &changes, const std::vector<RowConflict> &conflicts,
                 const std::vector<bool> &keepsMine);

    // What keys do, at the current cell or the selected ones.
    void editCell(const QModelIndex &cell);
    void addRow();
    void duplicateRow();
    void deleteRows();
    void setNull();
    void setEmptyText();
    void paste(const QString &block);

    // The value that a cell shows, and its row as it was read.
    RowValue value(int row, int column) const; // row: as in FlexGrid::rows()
    std::vector<RowValue> readRow(int row) const;
    // False, and nothing changes, when the column does not take values.
    bool setValue(int row, int column, const RowValue &value);
    FlexGrid &grid() { return m_grid; }

Q_SIGNALS:
    void changed();
    void told(const QString &words); // why something was not done

private:
    void apply(int row, std::vector<Cell> &cells) const override;
    bool mayEdit(int row, int column) const override;
    Mark mark(int row, int column) const override;
    QString tip(int row) const override;
    bool takesFile(int row, int column) const override;
    QString load(int row, int column, const QByteArray &bytes) override;

    const TableColumn &column(int index) const { return m_table.columns[static_cast<std::size_t>(index)]; }
    bool isAdded(int row) const { return row >= m_readRows; }
    void setSelected(const RowValue &value, const QString &refusal,
                     const std::function<bool(const TableColumn &)> &mayHold);
    void addRowWith(const std::map<int, RowValue> &values);
    void rebuild(const std::map<int, std::vector<RowValue>> &replaced, const std::set<int> &gone);
    void update();
    std::set<int> selectedRows() const;

    FlexGrid &m_grid;
    const Runner &m_runner;
    TableShape m_table;
    bool m_isBegun = false;
    int m_readRows = 0; // rows beyond are added ones
    RowEdits m_edits;
    mutable std::map<std::pair<int, int>, QByteArray> m_shown; // the bytes that edited cells show
};
