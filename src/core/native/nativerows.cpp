#include "core/native/nativerows.h"

#include "core/workercells.h"

#include <optional>

namespace {

// The library's number for the character set of bytes that are no text.
constexpr unsigned binaryCharset = 63;

std::optional<FieldKind> kindOf(const MYSQL_FIELD &field)
{
    switch (field.type) {
    case MYSQL_TYPE_DECIMAL:
    case MYSQL_TYPE_NEWDECIMAL:
    case MYSQL_TYPE_TINY:
    case MYSQL_TYPE_SHORT:
    case MYSQL_TYPE_INT24:
    case MYSQL_TYPE_LONG:
    case MYSQL_TYPE_LONGLONG:
    case MYSQL_TYPE_FLOAT:
    case MYSQL_TYPE_DOUBLE:
    case MYSQL_TYPE_YEAR:
        return FieldKind::Number;
    case MYSQL_TYPE_BIT:
    case MYSQL_TYPE_GEOMETRY:
        return FieldKind::Binary;
    case MYSQL_TYPE_STRING:
    case MYSQL_TYPE_VAR_STRING:
    case MYSQL_TYPE_VARCHAR:
    case MYSQL_TYPE_TINY_BLOB:
    case MYSQL_TYPE_BLOB:
    case MYSQL_TYPE_MEDIUM_BLOB:
    case MYSQL_TYPE_LONG_BLOB:
        return field.charsetnr == binaryCharset ? FieldKind::Binary : FieldKind::Text;
    case MYSQL_TYPE_NULL:
    case MYSQL_TYPE_TIMESTAMP:
    case MYSQL_TYPE_DATE:
    case MYSQL_TYPE_TIME:
    case MYSQL_TYPE_DATETIME:
    case MYSQL_TYPE_NEWDATE:
    case MYSQL_TYPE_JSON:
    case MYSQL_TYPE_ENUM:
    case MYSQL_TYPE_SET:
        return FieldKind::Text;
    default: // as VECTOR of MySQL 9, which Connector/C 3.3 does not know
        return {};
    }
}

} // namespace

NativeColumns::NativeColumns(MYSQL_RES *rows)
{
    const MYSQL_FIELD *columns = mysql_fetch_fields(rows);
    for (unsigned i = 0; i < mysql_num_fields(rows); ++i) {
        const std::optional<FieldKind> kind = kindOf(columns[i]);
        m_fields.push_back(
            {QString::fromUtf8(columns[i].name, columns[i].name_length), kind.value_or(FieldKind::Binary)});
        m_areHex.push_back(!kind);
    }
}

void NativeColumns::addRow(RowBlock &block, MYSQL_RES *rows, const char *const *values) const
{
    const unsigned long *lengths = mysql_fetch_lengths(rows);
    block.beginRow();
    for (std::size_t i = 0; i < m_fields.size(); ++i) {
        if (!values[i])
            block.addNull();
        else if (m_areHex[i])
            addHexCell(block, {values[i], lengths[i]});
        else if (m_fields[i].kind == FieldKind::Binary)
            addBinaryCell(block, {values[i], lengths[i]});
        else
            block.addCell({values[i], lengths[i]});
    }
}
