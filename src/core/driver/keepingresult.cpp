#include "core/driver/keepingresult.h"

#include "core/sql/resultlimits.h"

#include <algorithm>
#include <utility>

bool KeepingResult::fetch(RowBlock &block)
{
    if (!m_kept.empty()) {
        std::swap(block, m_kept.front());
        m_kept.pop_front();
        return !m_kept.empty() || m_keptError;
    }
    if (m_keptError)
        throw Failure(*m_keptError);
    try {
        return read(block);
    } catch (const Failure &error) {
        // The rows that came before it are handed over first.
        if (block.isEmpty())
            throw;
        m_keptError = error;
        return true;
    }
}

bool KeepingResult::read(RowBlock &block)
{
    const int columns = static_cast<int>(m_fields.size());
    if (block.columnCount() != columns)
        block = RowBlock(columns);
    // The next block is mostly like the last one. Only the first grows step by step: most results are small.
    constexpr std::size_t most = 8 * blockBytes; // one huge value says nothing of the next rows
    block.reserve(std::min(m_lastBytes + m_lastBytes / 16, most), m_lastRows + m_lastRows / 16);
    const bool hasMore = fill(block);
    m_lastBytes = block.byteCount();
    m_lastRows = static_cast<std::size_t>(block.rowCount());
    return hasMore;
}

void KeepingResult::takeRest()
{
    std::uint64_t bytes = 0;
    for (bool hasMore = !m_keptError; hasMore;) {
        RowBlock block;
        try {
            hasMore = read(block);
        } catch (const Failure &error) {
            m_keptError = error;
            hasMore = false;
        }
        block.trim();
        bytes += block.allocatedBytes();
        m_kept.push_back(std::move(block));
        if (hasMore && bytes > mostResultBytes()) {
            m_keptError = resultTooLarge();
            hasMore = false;
            giveUpRest();
        }
    }
}
