#pragma once

#include "rows/rowchange.h"

#include <set>

// The cells of a tab-separated block, as grids and spreadsheets copy it: what holds TABs or line ends stands
// in double quotes, in which a double quote is doubled.
std::vector<QStringList> cellsOfBlock(const QString &block);

// The changes to a grid's rows that are not saved yet. Rows are counted as they were read; added ones follow.
class RowEdits {
public:
    // What is known of one row; `before` as it was read.
    struct Edit {
        RowChange::Kind kind = RowChange::Kind::Changed;
        std::map<int, RowValue> values;
        QString refusal; // the server's words about it; empty: none
    };

    bool isEmpty() const { return m_edits.empty(); }
    int count() const { return static_cast<int>(m_edits.size()); }
    const std::map<int, Edit> &all() const { return m_edits; }
    const Edit *of(int row) const; // null: as it was read
    void clear() { m_edits.clear(); }

    // A value that is the one that was read makes no change.
    void set(int row, int column, const RowValue &value, const RowValue &asRead);
    void add(int row, std::map<int, RowValue> values);
    // Marks a row that is on the server, or takes the mark away; false where there is none of that.
    bool toggleDeletion(int row);
    void put(int row, Edit edit) { m_edits[row] = std::move(edit); }
    void refuse(int row, const QString &words);
    void forget(int row) { m_edits.erase(row); }

private:
    std::map<int, Edit> m_edits;
};
