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

std::string_view ResultLines::row(std::span<const Cell> cells)
{
    m_line.clear();
    for (const Cell &cell : cells) {
        m_line.append(cell.isNull ? std::string_view("NULL") : cell.bytes);
        m_line.push_back(m_delimiter);
    }
    m_line.pop_back();
    m_line.append("\r\n");
    return m_line;
}

void writeLines(const std::vector<Field> &fields, const PackedRows &rows, char delimiter,
                const std::function<void(std::string_view)> &take)
{
    ResultLines lines(delimiter);
    StringBuffer buffer;
    std::vector<Cell> cells;
    buffer.appendUtf8(lines.header(fields));
    for (int row = 0; row < rows.rowCount(); ++row) {
        rows.read(row, cells);
        buffer.appendUtf8(lines.row(cells));
        if (buffer.utf8().size() >= pieceBytes) {
            take(buffer.utf8());
            buffer.Clear();
        }
    }
    take(buffer.utf8());
}
