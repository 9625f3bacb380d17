#include "console/resultlines.h"

#include "core/codepage.h"

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
