#pragma once

#include "core/recordset.h"

#include <QTableView>

#include <span>
#include <vector>

class FlexGridModel;

// The one grid of the program: rows as packed bytes, text made for visible cells only, fixed row height.
// The header row of the system's words is the horizontal header; row numbers here count data rows from 0.
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
    // As many cells as there are fields; the bytes are copied.
    void appendRow(std::span<const Cell> cells);

    int rowCount() const;
    int columnCount() const;
    QString fieldName(int column) const;
    // The whole value, however long; a NULL is "NULL".
    QString text(int row, int column) const;
    bool isNull(int row, int column) const;
    // Bytes held for the rows, spare room included.
    std::size_t allocatedBytes() const;

private:
    FlexGridModel *m_model;
};

// Redraw off for as long as it lives.
class RedrawOff {
public:
    explicit RedrawOff(FlexGrid &grid) : m_grid(grid) { m_grid.setRedraw(false); }
    ~RedrawOff() { m_grid.setRedraw(true); }
    RedrawOff(const RedrawOff &) = delete;
    RedrawOff &operator=(const RedrawOff &) = delete;

private:
    FlexGrid &m_grid;
};

// The grid convention: header from the fields, every row appended, the record set closed, redraw on again.
void fillGrid(FlexGrid &grid, RecordSet &&rows);
