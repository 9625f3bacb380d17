#include "controls/gridcopy.h"

#include "core/hexliteral.h"

#include <algorithm>

namespace {

std::string quoted(std::string_view text, char quote)
{
    std::string result(1, quote);
    for (const char character : text) {
        if (character == quote)
            result += quote;
        result += character;
    }
    return result + quote;
}

std::string quotedIfNeeded(std::string_view text, std::string_view separators)
{
    return text.find_first_of(separators) == text.npos ? std::string(text) : quoted(text, '"');
}

std::string asMarkdown(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (character == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
            continue;
        if (character == '\n' || character == '\r')
            result += "<br>";
        else if (character == '|' || character == '\\' || character == '<')
            (result += '\\') += character;
        else
            result += character;
    }
    return result;
}

std::string asJson(std::string_view text)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string result = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\')
            (result += '\\') += character;
        else if (character == '\n')
            result += "\\n";
        else if (character == '\r')
            result += "\\r";
        else if (character == '\t')
            result += "\\t";
        else if (byte < 0x20)
            ((result += "\\u00") += digits[byte >> 4]) += digits[byte & 15];
        else
            result += character;
    }
    return result + '"';
}

std::string asSqlText(std::string_view text)
{
    std::string result = "'";
    for (const char character : text) {
        switch (character) {
        case '\0':
            result += "\\0";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\r':
            result += "\\r";
            break;
        case '\x1a':
            result += "\\Z";
            break;
        case '\\':
        case '\'':
            result += character;
            [[fallthrough]];
        default:
            result += character;
        }
    }
    return result + '\'';
}

std::size_t skipDigits(std::string_view text, std::size_t at)
{
    while (at < text.size() && text[at] >= '0' && text[at] <= '9')
        ++at;
    return at;
}

// -12, 0.5, 1e+20; JSON allows no zeros in front.
bool isNumber(std::string_view text, bool allowsLeadingZeros)
{
    std::size_t at = text.starts_with('-') ? 1 : 0;
    const std::size_t whole = at;
    at = skipDigits(text, at);
    if (at == whole || (!allowsLeadingZeros && text[whole] == '0' && at > whole + 1))
        return false;
    if (at < text.size() && text[at] == '.') {
        const std::size_t fraction = ++at;
        at = skipDigits(text, at);
        if (at == fraction)
            return false;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-'))
            ++at;
        const std::size_t exponent = at;
        at = skipDigits(text, at);
        if (at == exponent)
            return false;
    }
    return at == text.size();
}

std::string asSql(std::string_view text, FieldKind kind)
{
    const bool isBare = (kind == FieldKind::Number && isNumber(text, true)) ||
                        (kind == FieldKind::Binary && isHexLiteral(text));
    return isBare ? std::string(text) : asSqlText(text);
}

// A spreadsheet takes a quote for a beginning of quoted text only at the start of a cell.
std::string asTabSeparated(std::string_view text)
{
    return text.starts_with('"') ? quoted(text, '"') : quotedIfNeeded(text, "\t\r\n");
}

// In CSV an empty text is quoted, so that it differs from NULL, which is nothing at all.
std::string asCsv(std::string_view text)
{
    return text.empty() ? "\"\"" : quotedIfNeeded(text, ",\"\r\n");
}

} // namespace

std::string copiedValue(CopyFormat format, const Cell &cell, FieldKind kind)
{
    switch (format) {
    case CopyFormat::Csv:
        return cell.isNull ? std::string() : asCsv(cell.bytes);
    case CopyFormat::Markdown:
        return cell.isNull ? "NULL" : asMarkdown(cell.bytes);
    case CopyFormat::Json:
        if (cell.isNull)
            return "null";
        return kind == FieldKind::Number && isNumber(cell.bytes, false) ? std::string(cell.bytes)
                                                                        : asJson(cell.bytes);
    case CopyFormat::Insert:
        return cell.isNull ? "NULL" : asSql(cell.bytes, kind);
    default:
        return cell.isNull ? "NULL" : asTabSeparated(cell.bytes);
    }
}

GridCopy::GridCopy(CopyFormat format, std::vector<Field> fields, const QString &table)
    : m_format(format)
    , m_fields(std::move(fields))
{
    for (const Field &field : m_fields) {
        const std::string name = field.name.toStdString();
        m_names.push_back(format == CopyFormat::Insert
                              ? quoted(name, '`')
                              : copiedValue(format, Cell{name, false}, FieldKind::Text));
    }
    if (format == CopyFormat::Insert) {
        m_insertHead = "INSERT INTO " + quoted(table.toStdString(), '`') + " (";
        for (std::size_t i = 0; i < m_names.size(); ++i)
            m_insertHead += (i ? ", " : "") + m_names[i];
        m_insertHead += ") VALUES (";
    }
    addHeader();
}

void GridCopy::addHeader()
{
    const bool hasHeader = m_format == CopyFormat::TabSeparatedWithHeader || m_format == CopyFormat::Csv ||
                           m_format == CopyFormat::Markdown;
    if (m_format == CopyFormat::Json)
        m_text = "[";
    if (!hasHeader)
        return;
    const bool isMarkdown = m_format == CopyFormat::Markdown;
    const char *separator = isMarkdown ? " | " : m_format == CopyFormat::Csv ? "," : "\t";
    std::string rule;
    m_text += isMarkdown ? "| " : "";
    for (std::size_t i = 0; i < m_names.size(); ++i) {
        m_text += (i ? separator : "") + m_names[i];
        rule += m_fields[i].kind == FieldKind::Number ? "| ---: " : "| --- ";
    }
    m_text += isMarkdown ? " |\n" + rule + "|\n" : "\n";
}

void GridCopy::addRow(std::span<const Cell> cells)
{
    const auto addCells = [&](std::string_view before, std::string_view between, std::string_view after) {
        m_text += before;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            if (i)
                m_text += between;
            if (m_format == CopyFormat::Json)
                (m_text += m_names[i]) += ": ";
            m_text += copiedValue(m_format, cells[i], m_fields[i].kind);
        }
        m_text += after;
    };
    switch (m_format) {
    case CopyFormat::Csv:
        addCells("", ",", "\n");
        break;
    case CopyFormat::Markdown:
        addCells("| ", " | ", " |\n");
        break;
    case CopyFormat::Json:
        addCells(m_hasRows ? ",\n  {" : "\n  {", ", ", "}");
        break;
    case CopyFormat::Insert:
        addCells(m_insertHead, ", ", ");\n");
        break;
    default:
        addCells("", "\t", "\n");
    }
    m_hasRows = true;
}

std::string GridCopy::finish() &&
{
    if (m_format == CopyFormat::Json)
        m_text += m_hasRows ? "\n]\n" : "]\n";
    // Cells are pasted into the middle of something: no line end behind the last.
    if (m_format == CopyFormat::TabSeparated && m_hasRows)
        m_text.pop_back();
    return std::move(m_text);
}
