#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// One value of a row: UTF-8 bytes, or the database's NULL. Points into the block it was read from.
struct Cell {
    std::string_view bytes;
    bool isNull = false;
};

// Rows packed into one run of bytes, so that a million of them cost little more than their text:
// each cell is a variable-length number (0 for NULL, else length + 1) followed by its bytes.
class RowBlock {
public:
    explicit RowBlock(int columnCount = 0)
        : m_columnCount(columnCount)
    {
    }

    int columnCount() const { return m_columnCount; }
    int rowCount() const { return static_cast<int>(m_rowStarts.size()); }
    bool isEmpty() const { return m_rowStarts.empty(); }
    std::size_t byteCount() const { return m_bytes.size(); }
    // Of all cells as they are shown, a NULL as "NULL".
    std::size_t textBytes() const { return m_textBytes; }
    // Bytes that the block holds on to, spare room included.
    std::size_t allocatedBytes() const;

    // A row is written as beginRow() and then exactly columnCount() cells. At most 4 GB a block.
    void beginRow() { m_rowStarts.push_back(static_cast<std::uint32_t>(m_bytes.size())); }
    void addNull()
    {
        m_bytes.push_back('\0');
        m_textBytes += 4;
    }
    void addCell(std::string_view bytes);

    void reserve(std::size_t bytes, std::size_t rows);
    // For a block that is kept: gives spare room back where that is worth moving the bytes.
    void trim();
    void clear();

    // Replaces `cells` by the cells of the row; they stay valid until the block is changed or destroyed.
    void read(int row, std::vector<Cell> &cells) const;

private:
    std::vector<char> m_bytes; // no string: a short one's bytes move when it does, and cells point to them
    std::vector<std::uint32_t> m_rowStarts;
    std::size_t m_textBytes = 0;
    int m_columnCount;
};

// Whether the text is "0x" and an even number of hexadecimal digits, the form in which cells show bytes that
// are no text. A binary cell is never shown in this form as a text.
inline bool isHexLiteral(std::string_view text)
{
    return text.size() > 2 && text.size() % 2 == 0 && text.starts_with("0x") &&
           text.find_first_not_of("0123456789abcdefABCDEF", 2) == text.npos;
}
