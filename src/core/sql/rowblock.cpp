#include "core/sql/rowblock.h"

namespace {

void trimVector(auto &vector)
{
    if (vector.capacity() - vector.size() > vector.size() / 8)
        vector.shrink_to_fit();
}

} // namespace

std::size_t RowBlock::allocatedBytes() const
{
    return m_bytes.capacity() + m_rowStarts.capacity() * sizeof(std::uint32_t);
}

void RowBlock::addCell(std::string_view bytes)
{
    std::uint64_t number = bytes.size() + 1;
    while (number >= 0x80) {
        m_bytes.push_back(static_cast<char>(number | 0x80));
        number >>= 7;
    }
    m_bytes.push_back(static_cast<char>(number));
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    m_textBytes += bytes.size();
}

void RowBlock::reserve(std::size_t bytes, std::size_t rows)
{
    m_bytes.reserve(bytes);
    m_rowStarts.reserve(rows);
}

void RowBlock::trim()
{
    trimVector(m_bytes);
    trimVector(m_rowStarts);
}

void RowBlock::clear()
{
    m_bytes.clear();
    m_rowStarts.clear();
    m_textBytes = 0;
}

void RowBlock::read(int row, std::vector<Cell> &cells) const
{
    cells.resize(static_cast<std::size_t>(m_columnCount));
    const char *at = m_bytes.data() + m_rowStarts[static_cast<std::size_t>(row)];
    for (Cell &cell : cells) {
        std::uint64_t number = 0;
        for (int shift = 0;; shift += 7) {
            const auto byte = static_cast<unsigned char>(*at++);
            number |= std::uint64_t{byte & 0x7fu} << shift;
            if (byte < 0x80)
                break;
        }
        cell.isNull = number == 0;
        const std::size_t length = cell.isNull ? 0 : number - 1;
        cell.bytes = {at, length};
        at += length;
    }
}
