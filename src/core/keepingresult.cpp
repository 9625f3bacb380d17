#include "core/keepingresult.h"

#include <utility>

bool KeepingResult::fetch(RowBlock &block)
{
    if (!m_kept.empty()) {
        std::swap(block, m_kept.front());
        m_kept.pop_front();
        return !m_kept.empty() || m_keptError;
    }
    if (m_keptError)
        throw SqlError(*m_keptError);
    return read(block);
}

bool KeepingResult::read(RowBlock &block)
{
    const int columns = static_cast<int>(m_fields.size());
    if (block.columnCount() != columns)
        block = RowBlock(columns);
    return fill(block);
}

void KeepingResult::takeRest()
{
    try {
        for (bool hasMore = true; hasMore;) {
            RowBlock block;
            hasMore = read(block);
            block.shrinkToFit();
            m_kept.push_back(std::move(block));
        }
    } catch (const SqlError &error) {
        m_keptError = error;
    }
}
