#include "core/driver/native/nativeresult.h"

#include "core/driver/workerdriver.h"

#include <chrono>
#include <optional>

namespace {

using Clock = std::chrono::steady_clock;

// Rows that come slowly are handed over after this time, whatever the size of the block.
constexpr std::chrono::milliseconds handOver{20};

} // namespace

NativeResult::NativeResult(NativeDriver &driver, NativeRows rows, bool mayBeKilled)
    : m_driver(driver)
    , m_rows(std::move(rows))
    , m_columns(m_rows.get())
    , m_mayBeKilled(mayBeKilled)
{
    m_fields = m_columns.fields();
}

NativeResult::~NativeResult()
{
    giveUpRest();
}

void NativeResult::giveUpRest()
{
    if (!m_rows)
        return;
    if (m_mayBeKilled && m_driver.interrupt({[] {}, [](auto) { return true; }}) == Interruption::Confirmed)
        m_driver.settle();
    else
        dropRest();
}

bool NativeResult::mayBeKilled(const QByteArray &statement)
{
    const QByteArray start = statement.left(200).trimmed().toLower();
    return start.startsWith("select") || start.startsWith("(") || start.startsWith("show");
}

bool NativeResult::fill(RowBlock &block)
{
    if (!m_rows)
        return false;
    const Clock::time_point latest = Clock::now() + handOver;
    for (int row = 0;; ++row) {
        const MYSQL_ROW values = mysql_fetch_row(m_rows.get());
        if (!values) {
            endStream();
            return false;
        }
        m_columns.addRow(block, m_rows.get(), values);
        const bool looksAtClock = row < 64 || row % 64 == 0;
        if (block.byteCount() >= blockBytes || (looksAtClock && Clock::now() >= latest))
            return true;
    }
}

void NativeResult::endStream()
{
    MYSQL *handle = m_driver.m_handle.get();
    const bool hasFailed = mysql_errno(handle) != 0;
    const Failure error = nativeError(handle);
    m_rows.reset();
    m_driver.m_streaming = nullptr;
    if (hasFailed)
        throw Failure(error);
    if (!m_driver.m_keepsFurther)
        dropFurtherResults(handle);
}

void NativeResult::dropRest()
{
    if (!m_rows)
        return;
    try {
        while (mysql_fetch_row(m_rows.get())) {
        }
        endStream();
    } catch (const Failure &) {
        // Nobody reads these rows any more; a lost connection shows at the next statement.
    }
}

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
        m_areHex.push_back(!kind || columns[i].type == MYSQL_TYPE_BIT); // 49 is not the text "1"
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
