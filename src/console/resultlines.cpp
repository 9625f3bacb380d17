#include "console/resultlines.h"

#include "controls/grid/packedrows.h"
#include "core/session/codepage.h"
#include "core/sql/stringbuffer.h"

namespace {

constexpr std::size_t pieceBytes = std::size_t{1} << 20;

} // namespace

std::string ResultLines::header(const std::vector<Field> &fields) const
{
    QString names;
    for (const Field &field : fields) {
        if (&field != &fields.front())
            names += QLatin1Char(m_delimiter);
        names += field.name;
    }
    const auto ruleLength = static_cast<std::size_t>(codePageLength(names));
    return names.toStdString() + "\r\n" + std::string(ruleLength, '-') + "\r\n";
}

std::string_view ResultLines::of(const RowBlock &block)
{
    m_lines.clear();
    m_lines.reserve(lineBytes(block));
    for (int row = 0; row < block.rowCount(); ++row) {
        block.read(row, m_cells);
        for (const Cell &cell : m_cells) {
            m_lines.append(cell.isNull ? std::string_view("NULL") : cell.bytes);
            m_lines.push_back(m_delimiter);
        }
        m_lines.pop_back();
        m_lines.append("\r\n");
    }
    Q_ASSERT(m_lines.size() == lineBytes(block));
    return m_lines;
}

std::size_t lineBytes(const RowBlock &block)
{
    const auto rows = static_cast<std::size_t>(block.rowCount());
    // Behind each cell a delimiter, or behind the last CR and LF.
    return block.textBytes() + rows * (static_cast<std::size_t>(block.columnCount()) + 1);
}

void writeLines(const std::vector<Field> &fields, const PackedRows &rows, char delimiter,
                const std::function<void(std::string_view)> &take)
{
    ResultLines lines(delimiter);
    StringBuffer buffer;
    buffer.appendUtf8(lines.header(fields));
    for (const auto &block : rows.blocks()) {
        buffer.appendUtf8(lines.of(*block));
        if (buffer.utf8().size() >= pieceBytes) {
            take(buffer.utf8());
            buffer.Clear();
        }
    }
    take(buffer.utf8());
}
