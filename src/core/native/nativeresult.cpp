#include "core/native/nativeresult.h"

#include <chrono>

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
    const SqlError error = nativeError(handle);
    m_rows.reset();
    m_driver.m_streaming = nullptr;
    if (hasFailed)
        throw SqlError(error);
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
    } catch (const SqlError &) {
        // Nobody reads these rows any more; a lost connection shows at the next statement.
    }
}
