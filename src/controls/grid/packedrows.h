#pragma once

#include "core/sql/rowblock.h"

#include <memory>
#include <span>
#include <vector>

// All rows of a grid, in the blocks that they came in. A copy shares the blocks and never changes any more:
// cheap enough to hand to a worker.
class PackedRows {
public:
    explicit PackedRows(int columnCount = 0)
        : m_columnCount(columnCount)
    {
    }

    // Of as many columns. Rows that come in blocks are never unpacked for this.
    void append(RowBlock &&block);
    // A single row, as many cells as columns; the bytes are copied.
    void append(std::span<const Cell> cells);
    int rowCount() const { return m_rowCount; }
    int columnCount() const { return m_columnCount; }
    // Replaces `cells` by the cells of the row; they stay valid until rows are appended or destroyed.
    void read(int row, std::vector<Cell> &cells) const;
    const std::vector<std::shared_ptr<RowBlock>> &blocks() const { return m_blocks; }
    std::size_t allocatedBytes() const;

private:
    RowBlock &blockFor(std::size_t bytes);

    std::vector<std::shared_ptr<RowBlock>> m_blocks;
    std::vector<int> m_firstRows; // of each block
    int m_columnCount;
    int m_rowCount = 0;
};
