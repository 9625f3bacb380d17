#include "core/sql/recordset.h"

#include "core/sql/resultlimits.h"

#include <utility>

namespace {

// A server may answer with fewer columns than the statement asked for.
void requireColumn(int index, std::size_t count)
{
    if (index < 0 || static_cast<std::size_t>(index) >= count)
        throw Failure(
            QStringLiteral("サーバーの結果に、あるはずの列（%1番目）がありません。").arg(index + 1));
}

} // namespace

RecordSet::RecordSet(std::unique_ptr<RowSource> source)
    : m_source(std::move(source))
    , m_fields(m_source->fields())
{
    moveNext();
}

const QString &RecordSet::fieldName(int index) const
{
    requireColumn(index, m_fields.size());
    return m_fields[static_cast<std::size_t>(index)].name;
}

int RecordSet::fieldIndex(const QString &name) const
{
    for (int i = 0; i < fieldCount(); ++i)
        if (fieldName(i).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

bool RecordSet::isEof()
{
    if (!isOpen())
        throw Failure(QStringLiteral("レコードセットは閉じています。"));
    return m_atEnd;
}

void RecordSet::moveNext()
{
    if (!isOpen())
        throw Failure(QStringLiteral("レコードセットは閉じています。"));
    if (m_atEnd)
        return;
    if (++m_row >= m_block.rowCount()) {
        m_row = 0;
        m_atEnd = true; // also when the read throws: the old rows are not shown again
        if (m_isLimited && m_bytes > mostResultBytes())
            throw resultTooLarge();
        if (!m_source->read(m_block))
            return;
        m_atEnd = false;
        m_bytes += m_block.byteCount();
        if (m_counter)
            m_counter(m_block.rowCount());
    }
    m_block.read(m_row, m_cells);
}

RowBlock RecordSet::takeBlock()
{
    m_cells.clear();
    return std::exchange(m_block, RowBlock(fieldCount()));
}

void RecordSet::moveNextBlock()
{
    m_row = m_block.rowCount();
    moveNext();
}

void RecordSet::countRows(std::function<void(int)> counter)
{
    m_counter = std::move(counter);
    m_counter(m_block.rowCount());
}

const Cell &RecordSet::cell(int index) const
{
    requireColumn(index, m_cells.size());
    return m_cells[static_cast<std::size_t>(index)];
}

QString RecordSet::text(int index) const
{
    const Cell &cell = this->cell(index);
    if (cell.isNull)
        return QStringLiteral("NULL");
    return QString::fromUtf8(cell.bytes.data(), static_cast<qsizetype>(cell.bytes.size()));
}

QString RecordSet::text(const QString &name) const
{
    return text(requiredField(name));
}

int RecordSet::requiredField(const QString &name) const
{
    const int index = fieldIndex(name);
    if (index < 0)
        throw Failure(QStringLiteral("結果に列「%1」がありません。").arg(name));
    return index;
}
