#include "controls/grid/packedrows.h"

#include <algorithm>

namespace {

// Of the blocks for single rows.
constexpr std::size_t blockBytes = 256 * 1024;

} // namespace

void PackedRows::append(RowBlock &&block)
{
    if (block.isEmpty())
        return;
    block.trim();
    const int rows = block.rowCount();
    m_blocks.push_back(std::make_shared<RowBlock>(std::move(block)));
    m_firstRows.push_back(m_rowCount);
    m_rowCount += rows;
}

void PackedRows::append(std::span<const Cell> cells)
{
    std::size_t bytes = 0;
    for (const Cell &cell : cells)
        bytes += cell.bytes.size() + 4;
    RowBlock &block = blockFor(bytes);
    block.beginRow();
    for (const Cell &cell : cells) {
        if (cell.isNull)
            block.addNull();
        else
            block.addCell(cell.bytes);
    }
    ++m_rowCount;
}

void PackedRows::read(int row, std::vector<Cell> &cells) const
{
    const auto after = std::upper_bound(m_firstRows.begin(), m_firstRows.end(), row);
    const auto block = static_cast<std::size_t>(after - m_firstRows.begin()) - 1;
    m_blocks[block]->read(row - m_firstRows[block], cells);
}

std::size_t PackedRows::allocatedBytes() const
{
    std::size_t bytes = m_blocks.capacity() * sizeof(m_blocks[0]) + m_firstRows.capacity() * sizeof(int);
    for (const auto &block : m_blocks)
        bytes += block->allocatedBytes() + sizeof(RowBlock);
    return bytes;
}

// The block that takes the next row: the last one, unless it is full or shared with a copy of this object.
RowBlock &PackedRows::blockFor(std::size_t bytes)
{
    const bool isUsable = !m_blocks.empty() && m_blocks.back().use_count() == 1 &&
                          m_blocks.back()->byteCount() + bytes <= blockBytes;
    if (isUsable)
        return *m_blocks.back();
    if (!m_blocks.empty() && m_blocks.back().use_count() == 1)
        m_blocks.back()->trim();
    auto block = std::make_shared<RowBlock>(m_columnCount);
    // Only the first block grows step by step: most grids are small.
    if (!m_blocks.empty())
        block->reserve(std::max(blockBytes, bytes), 0);
    m_blocks.push_back(std::move(block));
    m_firstRows.push_back(m_rowCount);
    return *m_blocks.back();
}
