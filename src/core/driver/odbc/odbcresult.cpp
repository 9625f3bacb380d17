#include "core/driver/odbc/odbcresult.h"

#include "core/driver/workerdriver.h"

#include <algorithm>
#include <array>

namespace {

// The room for one cell in a bound block, and for a whole block.
constexpr std::size_t shortestPlace = 64;
constexpr std::size_t longestPlace = 2048;
constexpr std::size_t boundBytes = 512 * 1024;
constexpr std::size_t mostRowsAtOnce = 100;

FieldKind kindOf(SQLSMALLINT type)
{
    switch (type) {
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
    case SQL_DECIMAL:
    case SQL_NUMERIC:
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return FieldKind::Number;
    case SQL_BIT:
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return FieldKind::Binary;
    default:
        return FieldKind::Text;
    }
}

} // namespace

// A place that is full to its end has no room for the zero that ends texts, and counts as cut.
bool OdbcResult::Column::isCut(std::size_t row) const
{
    const SQLLEN length = lengths[row];
    if (length == SQL_NULL_DATA)
        return false;
    return length == SQL_NO_TOTAL || static_cast<std::size_t>(length) >= size;
}

OdbcResult::OdbcResult(OdbcDriver &driver, OdbcStatementHandle handle, SQLSMALLINT columnCount,
                       bool mayHaveFollowers)
    : m_driver(driver)
    , m_mayHaveFollowers(mayHaveFollowers)
    , m_handle(std::move(handle))
    , m_columns(static_cast<std::size_t>(columnCount))
{
    m_fields.resize(m_columns.size());
    for (std::size_t i = 0; i < m_fields.size(); ++i)
        describe(static_cast<SQLUSMALLINT>(i + 1), m_fields[i], m_columns[i]);
    bind();
    m_driver.m_results.push_back(this);
}

OdbcResult::~OdbcResult()
{
    release();
}

void OdbcResult::describe(SQLUSMALLINT number, Field &field, Column &column) const
{
    std::array<SQLWCHAR, 1024> name{};
    SQLSMALLINT length = 0, type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    if (!SQL_SUCCEEDED(SQLDescribeColW(m_handle.get(), number, name.data(),
                                       static_cast<SQLSMALLINT>(name.size()), &length, &type, &size, &digits,
                                       &nullable)))
        throw odbcError(SQL_HANDLE_STMT, m_handle.get());
    const auto longest = static_cast<SQLSMALLINT>(name.size() - 1);
    field.name =
        QString::fromUtf16(reinterpret_cast<const char16_t *>(name.data()), std::min(length, longest));
    field.kind = kindOf(type);
    column.type = field.kind == FieldKind::Binary ? SQL_C_BINARY : SQL_C_CHAR;
    column.isHex = type == SQL_BIT || (type == SQL_BINARY && isOfBits(number));
    // The size counts characters.
    const std::size_t wanted = size > longestPlace ? longestPlace : size * 4 + 1;
    column.size = std::clamp(wanted, shortestPlace, longestPlace);
}

// They come as bytes, of which 49 is not the text "1".
bool OdbcResult::isOfBits(SQLUSMALLINT number) const
{
    std::array<SQLWCHAR, 16> name{};
    SQLSMALLINT length = 0;
    return SQL_SUCCEEDED(SQLColAttributeW(m_handle.get(), number, SQL_DESC_TYPE_NAME, name.data(),
                                          static_cast<SQLSMALLINT>(sizeof name), &length, nullptr)) &&
           QString::fromUtf16(reinterpret_cast<const char16_t *>(name.data()))
                   .compare(u"bit", Qt::CaseInsensitive) == 0;
}

void OdbcResult::bind()
{
    std::size_t rowBytes = 0;
    for (const Column &column : m_columns)
        rowBytes += column.size;
    const std::size_t rows = std::clamp<std::size_t>(boundBytes / rowBytes, 1, mostRowsAtOnce);
    m_rowsAtOnce = rows;
    SQLSetStmtAttrW(m_handle.get(), SQL_ATTR_ROW_ARRAY_SIZE, odbcNumber(m_rowsAtOnce), 0);
    SQLSetStmtAttrW(m_handle.get(), SQL_ATTR_ROWS_FETCHED_PTR, &m_rowsFetched, 0);
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        Column &column = m_columns[i];
        column.bytes = std::make_unique_for_overwrite<char[]>(column.size * rows);
        column.lengths.resize(rows);
        if (!SQL_SUCCEEDED(SQLBindCol(m_handle.get(), static_cast<SQLUSMALLINT>(i + 1), column.type,
                                      column.bytes.get(), static_cast<SQLLEN>(column.size),
                                      column.lengths.data())))
            throw odbcError(SQL_HANDLE_STMT, m_handle.get());
    }
}

bool OdbcResult::fill(RowBlock &block)
{
    if (!m_handle)
        return false;
    try {
        while (block.byteCount() < blockBytes) {
            if (!fetchRows()) {
                finish();
                return false;
            }
            for (std::size_t row = 0; row < m_rowsFetched; ++row)
                addRow(block, row);
        }
    } catch (const Failure &) {
        release();
        throw;
    }
    return true;
}

bool OdbcResult::fetchRows()
{
    m_rowsBefore += static_cast<SQLLEN>(m_rowsFetched);
    SQLRETURN result = SQLFetchScroll(m_handle.get(), SQL_FETCH_NEXT, 0);
    if (SQL_SUCCEEDED(result) && m_rowsAtOnce > 1) {
        const auto hasCutCell = [this](const Column &column) {
            for (std::size_t row = 0; row < m_rowsFetched; ++row)
                if (column.isCut(row))
                    return true;
            return false;
        };
        if (std::any_of(m_columns.begin(), m_columns.end(), hasCutCell)) {
            // SQLGetData gives the right row's cell only when a block has one row (Connector/ODBC 3.1.15).
            m_rowsAtOnce = 1;
            SQLSetStmtAttrW(m_handle.get(), SQL_ATTR_ROW_ARRAY_SIZE, odbcNumber(1), 0);
            result = SQLFetchScroll(m_handle.get(), SQL_FETCH_ABSOLUTE, m_rowsBefore + 1);
        }
    }
    if (result == SQL_NO_DATA)
        return false;
    if (!SQL_SUCCEEDED(result))
        throw odbcError(SQL_HANDLE_STMT, m_handle.get());
    return true;
}

void OdbcResult::addRow(RowBlock &block, std::size_t row)
{
    block.beginRow();
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const Column &column = m_columns[i];
        if (column.lengths[row] == SQL_NULL_DATA) {
            block.addNull();
            continue;
        }
        std::string whole;
        std::string_view bytes;
        if (column.isCut(row)) {
            whole = longCell(i);
            bytes = whole;
        } else {
            bytes = {column.bytes.get() + row * column.size, static_cast<std::size_t>(column.lengths[row])};
        }
        if (column.isHex)
            addHexCell(block, bytes);
        else if (m_fields[i].kind == FieldKind::Binary)
            addBinaryCell(block, bytes);
        else
            block.addCell(bytes);
    }
}

std::string OdbcResult::longCell(std::size_t column)
{
    const SQLLEN known = m_columns[column].lengths[0];
    std::string bytes;
    SQLRETURN result = SQL_SUCCESS_WITH_INFO;
    std::vector<char> piece(known > 0 ? static_cast<std::size_t>(known) + 1 : 1024 * 1024);
    while (result == SQL_SUCCESS_WITH_INFO) {
        SQLLEN length = 0;
        result = SQLGetData(m_handle.get(), static_cast<SQLUSMALLINT>(column + 1), m_columns[column].type,
                            piece.data(), static_cast<SQLLEN>(piece.size()), &length);
        if (result != SQL_NO_DATA && !SQL_SUCCEEDED(result))
            throw odbcError(SQL_HANDLE_STMT, m_handle.get());
        const std::size_t room = piece.size() - (m_columns[column].type == SQL_C_CHAR ? 1 : 0);
        if (SQL_SUCCEEDED(result) && length != SQL_NULL_DATA)
            bytes.append(piece.data(),
                         length == SQL_NO_TOTAL ? room : std::min(room, static_cast<std::size_t>(length)));
    }
    return bytes;
}

// Only the first result of several is shown; an error in a later one is said all the same.
void OdbcResult::finish()
{
    SQLRETURN result = m_mayHaveFollowers ? SQL_SUCCESS : SQL_NO_DATA;
    while (SQL_SUCCEEDED(result))
        result = SQLMoreResults(m_handle.get());
    if (result != SQL_NO_DATA)
        throw odbcError(SQL_HANDLE_STMT, m_handle.get());
    release();
}

void OdbcResult::release()
{
    std::erase(m_driver.m_results, this);
    m_handle = OdbcStatementHandle();
}
