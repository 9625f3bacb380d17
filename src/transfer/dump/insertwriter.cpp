#include "transfer/dump/insertwriter.h"

#include "core/sql/statements.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace {

// What stands behind a backslash for a byte; 0: the byte stands for itself.
constexpr std::array<char, 256> makeEscapes()
{
    std::array<char, 256> escapes{};
    escapes[0] = '0';
    escapes['\n'] = 'n';
    escapes['\r'] = 'r';
    escapes['\\'] = '\\';
    escapes['\''] = '\'';
    escapes[0x1a] = 'Z'; // ends a file for some programs
    return escapes;
}
constexpr std::array<char, 256> escapes = makeEscapes();

constexpr std::string_view plainWords = "INSERT ", forgivingWords = "INSERT IGNORE ";

void appendHex(std::string &to, std::string_view bytes)
{
    constexpr char digits[] = "0123456789ABCDEF";
    to += "0x";
    for (const char byte : bytes) {
        const auto number = static_cast<unsigned char>(byte);
        to += digits[number >> 4];
        to += digits[number & 15];
    }
}

} // namespace

void appendTextLiteral(std::string &to, std::string_view bytes)
{
    to += '\'';
    const char *from = bytes.data();
    const char *const end = from + bytes.size();
    for (const char *at = from; at != end; ++at)
        if (const char escape = escapes[static_cast<unsigned char>(*at)]) {
            to.append(from, at);
            to += '\\';
            to += escape;
            from = at + 1;
        }
    to.append(from, end);
    to += '\'';
}

InsertWriter::InsertWriter(const QString &table, std::vector<StoredColumn> columns, bool isNamed, int bytes,
                           Sink sink)
    : m_columns(std::move(columns))
    , m_bytes(static_cast<std::size_t>(bytes))
    , m_sink(std::move(sink))
{
    QStringList names;
    for (const StoredColumn &column : m_columns)
        names << quotedName(column.name);
    m_target =
        (QStringLiteral("INTO ") + quotedName(table) +
         (isNamed ? QStringLiteral(" (%1)").arg(names.join(u',')) : QString()) + QStringLiteral(" VALUES\n"))
            .toStdString();
    m_rows.reserve(m_bytes + m_bytes / 8);
    begin();
}

QString InsertWriter::selected() const
{
    QStringList values;
    for (const StoredColumn &column : m_columns) {
        const QString name = quotedName(column.name);
        if (column.type == u"float")
            values << name + QStringLiteral("*1e0");
        // Not every character of such a set survives the way to Unicode and back.
        else if (column.form == ValueForm::Bytes && isOfText(column))
            values << QStringLiteral("CAST(%1 AS BINARY)").arg(name);
        else
            values << name;
    }
    return values.join(QStringLiteral(", "));
}

void InsertWriter::setFields(const std::vector<Field> &fields)
{
    m_literals.clear();
    for (std::size_t i = 0; i < m_columns.size() && i < fields.size(); ++i) {
        const StoredColumn &column = m_columns[i];
        if (column.form == ValueForm::Bytes)
            m_literals.push_back(Literal::Hex);
        else if (column.type == u"enum")
            m_literals.push_back(Literal::Choice);
        else
            m_literals.push_back(fields[i].kind == FieldKind::Number ? Literal::Bare : Literal::Text);
    }
}

void InsertWriter::addRow(std::span<const Cell> cells)
{
    m_rows += m_rows.size() == m_begin ? "(" : ",\n(";
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (i > 0)
            m_rows += ',';
        if (cells[i].isNull)
            m_rows += "NULL";
        else
            addValue(cells[i].bytes, m_literals[i]);
    }
    m_rows += ')';
    if (m_rows.size() >= m_bytes)
        finish();
}

void InsertWriter::addValue(std::string_view bytes, Literal literal)
{
    switch (literal) {
    case Literal::Bare:
        m_rows += bytes;
        if (bytes == "-0") // a whole number has no such zero
            m_rows += "e0";
        return;
    case Literal::Hex:
        if (isHexLiteral(bytes))
            m_rows += bytes;
        else if (bytes.empty())
            m_rows += "''";
        else
            appendHex(m_rows, bytes);
        return;
    case Literal::Choice:
        // A value that is none of the column's: strict servers take it back only when told to let it pass.
        m_isForgiving |= bytes.empty();
        break;
    case Literal::Text:
        break;
    }
    appendTextLiteral(m_rows, bytes);
}

// The longer word is there from the start, so that nothing has to be moved for it.
void InsertWriter::begin()
{
    m_rows = forgivingWords;
    m_rows += m_target;
    m_begin = m_rows.size();
}

void InsertWriter::finish()
{
    if (m_rows.size() == m_begin)
        return;
    std::string_view statement = m_rows;
    if (!m_isForgiving) {
        const std::size_t more = forgivingWords.size() - plainWords.size();
        m_rows.replace(more, plainWords.size(), plainWords);
        statement = std::string_view(m_rows).substr(more);
    }
    m_sink(statement);
    begin();
    m_isForgiving = false;
}
