#pragma once

#include "core/sql/recordset.h"

#include <QPointer>
#include <QTableView>

#include <span>
#include <vector>

class CellViewer;
class FindBar;
class FlexGridModel;
class GridEdits;
class GridSearch;
class PackedRows;
class QMenu;
enum class CopyFormat;

// The one grid of the program: rows as packed bytes, text made for visible cells only, fixed row height.
// The header row of the system's words is the horizontal header; row numbers here count data rows from 0,
// in the order shown (a click on a header sorts, the third click restores the server's order).
class FlexGrid : public QTableView {
    Q_OBJECT

public:
    explicit FlexGrid(QWidget *parent = nullptr);
    ~FlexGrid() override;

    void clearGrid(); // no columns, no rows
    // Switched off while rows are added, so that the grid lays out and repaints only once.
    void setRedraw(bool isOn);

    // Replaces everything by a header row.
    void setFields(const std::vector<Field> &fields);
    // Rows as they come from a record set, of as many columns as there are fields; nothing is copied.
    void appendBlock(RowBlock &&block);
    // As many cells as there are fields; the bytes are copied.
    void appendRow(std::span<const Cell> cells);

    int rowCount() const;
    int columnCount() const;
    QString fieldName(int column) const;
    const std::vector<Field> &fields() const;
    // The whole value, however long; a NULL is "NULL".
    QString text(int row, int column) const;
    bool isNull(int row, int column) const;
    // All rows in the server's order, as they are now: shared with the grid, and safe to read on a worker.
    PackedRows rows() const;
    // Rows of the same columns in place of all others.
    void replaceRows(PackedRows rows);
    // What stands over the rows while they are edited; cells that it lets be edited are not opened by a
    // double click. Null: nothing. It goes with the rows, at the next fields.
    void setEdits(GridEdits *edits);
    void editsChanged();
    int storedRow(int row) const; // its place in rows()
    // Bytes held for the rows, spare room included.
    std::size_t allocatedBytes() const;

    // What a grid says that holds no result yet.
    void setPlaceholderText(const QString &text);
    // What it says instead of "no rows" of the result it has the fields of; until the next fields are set.
    void setNoRowsText(const QString &text);
    // The name that INSERT statements of a copy carry; empty until it is known.
    void setTableName(const QString &name) { m_tableName = name; }
    const QString &tableName() const { return m_tableName; }
    // What the rows are the answer to, for whoever wants all of them; until the next fields are set.
    void setStatement(const QString &statement) { m_statement = statement; }
    const QString &statement() const { return m_statement; }
    // The selected cells in one of the forms; every whole value.
    QString selectedText(CopyFormat format) const;
    void sortByColumn(int column, Qt::SortOrder direction); // column -1: the server's order
    // Copies the selected cells.
    void copy(CopyFormat format);
    void openSearch();
    bool mayExport() const; // somebody takes exportRequested()
    // Shows a cell's whole value in a window of its own, "cellViewer".
    void openCell(const QModelIndex &cell);
    int sizeHintForColumn(int column) const override;
    // -1: the rows are in the server's order.
    int sortedColumn() const;

Q_SIGNALS:
    // The context menu is about to open: what is to be in it can be added.
    void menuOpening(QMenu *menu);
    // The menu offers it where somebody is connected.
    void exportRequested();

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void buildHeaders();
    void keepHeaderFromSelection();
    void buildSearch();
    void reveal();
    void fitRowHeight();
    int fittingWidth(int column, int mostRows) const;
    void clickHeader(int column);
    void showSortMark();
    void showInViewer(int storedRow, int column, int rowNumber);
    void keepFromLoading();

    FlexGridModel *m_model;
    FindBar *m_findBar;
    GridSearch *m_search;
    QPointer<CellViewer> m_viewer;
    QString m_placeholder, m_noRows, m_tableName, m_statement;
    bool m_isRedrawOn = true;
    bool m_hasWidths = false; // set after the first rows
};

// Redraw off for as long as it lives.
class RedrawOff {
public:
    explicit RedrawOff(FlexGrid &grid)
        : m_grid(grid)
    {
        m_grid.setRedraw(false);
    }
    ~RedrawOff() { m_grid.setRedraw(true); }
    RedrawOff(const RedrawOff &) = delete;
    RedrawOff &operator=(const RedrawOff &) = delete;

private:
    FlexGrid &m_grid;
};

// The grid convention: header from the fields, every row appended, the record set closed, redraw on again.
void fillGrid(FlexGrid &grid, RecordSet &&rows);
