#include "controls/grid/gridcopy.h"

#include "controls/grid/flexgridmodel.h"
#include "core/sql/rowblock.h"

#include <QItemSelection>
#include <QSet>

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

std::vector<Field> withDistinctNames(std::vector<Field> fields)
{
    QSet<QString> names;
    for (Field &field : fields) {
        const QString name = field.name;
        for (int number = 2; names.contains(field.name); ++number)
            field.name = name + QStringLiteral(" (%1)").arg(number);
        names.insert(field.name);
    }
    return fields;
}

GridCopy::GridCopy(CopyFormat format, std::vector<Field> fields, const QString &table)
    : m_format(format)
    , m_fields(format == CopyFormat::Json ? withDistinctNames(std::move(fields)) : std::move(fields))
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

namespace {

struct Span {
    int first, last;
};

// Sorted, none touching another.
std::vector<Span> merged(std::vector<Span> spans)
{
    std::ranges::sort(spans, {}, &Span::first);
    std::vector<Span> result;
    for (const Span &span : spans) {
        if (!result.empty() && span.first <= result.back().last + 1)
            result.back().last = std::max(result.back().last, span.last);
        else
            result.push_back(span);
    }
    return result;
}

bool coversAlike(const QItemSelection &selection)
{
    return std::ranges::all_of(selection, [&](const QItemSelectionRange &range) {
        return range.left() == selection.front().left() && range.right() == selection.front().right();
    });
}

bool isSelected(const QItemSelection &selection, int row, int column)
{
    return std::ranges::any_of(selection, [&](const QItemSelectionRange &range) {
        return row >= range.top() && row <= range.bottom() && column >= range.left() &&
               column <= range.right();
    });
}

} // namespace

QString copiedSelection(const FlexGridModel &model, const QItemSelection &selection, CopyFormat format,
                        const QString &table)
{
    if (selection.isEmpty())
        return {};
    std::vector<Span> rowSpans, columnSpans;
    for (const QItemSelectionRange &range : selection) {
        rowSpans.push_back({range.top(), range.bottom()});
        columnSpans.push_back({range.left(), range.right()});
    }
    std::vector<int> columns;
    for (const Span &span : merged(columnSpans))
        for (int column = span.first; column <= span.last; ++column)
            columns.push_back(column);
    rowSpans = merged(rowSpans);
    const bool isOneCell =
        columns.size() == 1 && rowSpans.size() == 1 && rowSpans[0].first == rowSpans[0].last;
    if (isOneCell && format == CopyFormat::TabSeparated) {
        const Cell &cell = model.cell(rowSpans[0].first, columns[0]);
        return cell.isNull ? QStringLiteral("NULL")
                           : QString::fromUtf8(cell.bytes.data(), static_cast<qsizetype>(cell.bytes.size()));
    }
    std::vector<Field> fields;
    for (const int column : columns)
        fields.push_back(model.fields()[static_cast<std::size_t>(column)]);
    GridCopy copy(format, std::move(fields), table.isEmpty() ? QStringLiteral("table_name") : table);
    // Cells that were not chosen stay empty where they only keep the others in their places. In a record they
    // would be values that no row has.
    const bool mayLeaveOut =
        format == CopyFormat::TabSeparated || format == CopyFormat::TabSeparatedWithHeader;
    const bool takesAll = !mayLeaveOut || coversAlike(selection);
    std::vector<Cell> cells(columns.size());
    for (const Span &span : rowSpans)
        for (int row = span.first; row <= span.last; ++row) {
            for (std::size_t i = 0; i < columns.size(); ++i)
                cells[i] =
                    takesAll || isSelected(selection, row, columns[i]) ? model.cell(row, columns[i]) : Cell{};
            copy.addRow(cells);
        }
    return QString::fromStdString(std::move(copy).finish());
}
