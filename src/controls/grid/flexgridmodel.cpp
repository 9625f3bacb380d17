#include "controls/grid/flexgridmodel.h"

#include "controls/grid/gridsort.h"
#include "controls/window/building.h"

#include <QThread>

#include <algorithm>
#include <stop_token>

namespace {

// More than the widest column of the widest screen shows.
constexpr std::size_t mostCellBytes = 6000;
constexpr int mostRowsAtOnce = 20000;

} // namespace

struct FlexGridModel::SortJob {
    PackedRows rows;
    std::vector<std::uint32_t> order;
    std::stop_source stop;
    std::unique_ptr<QThread> thread;

    ~SortJob()
    {
        stop.request_stop();
        thread->wait();
    }
};

FlexGridModel::FlexGridModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

FlexGridModel::~FlexGridModel() = default;

void FlexGridModel::setFields(const std::vector<Field> &fields)
{
    beginResetModel();
    m_edits = nullptr;
    m_fields = fields;
    m_rows = PackedRows(static_cast<int>(fields.size()));
    m_shownRows = 0;
    m_order.clear();
    m_sortedColumn = -1;
    giveUpJobs();
    m_cachedRow = -1;
    endResetModel();
}

void FlexGridModel::reveal()
{
    if (m_shownRows == m_rows.rowCount())
        return;
    beginInsertRows({}, m_shownRows, m_rows.rowCount() - 1);
    m_shownRows = m_rows.rowCount();
    endInsertRows();
}

const std::vector<Cell> &FlexGridModel::cells(int row) const
{
    if (row != m_cachedRow) {
        const int stored = storedRow(row);
        m_rows.read(stored, m_cells);
        if (m_edits)
            m_edits->apply(stored, m_cells);
        m_cachedRow = row;
    }
    return m_cells;
}

int FlexGridModel::storedRow(int shownRow) const
{
    const auto at = static_cast<std::size_t>(shownRow);
    return at < m_order.size() ? static_cast<int>(m_order[at]) : shownRow;
}

void FlexGridModel::replaceRows(PackedRows rows)
{
    const int sortedBy = m_sortedColumn;
    sortRows(-1, m_sortDirection);
    const int before = m_shownRows, after = rows.rowCount();
    if (after < before)
        beginRemoveRows({}, after, before - 1);
    m_rows = std::move(rows);
    m_shownRows = std::min(before, after);
    m_cachedRow = -1;
    if (after < before)
        endRemoveRows();
    reveal();
    sortRows(sortedBy, m_sortDirection);
}

void FlexGridModel::setEdits(GridEdits *edits)
{
    m_edits = edits;
    editsChanged();
}

void FlexGridModel::editsChanged()
{
    m_cachedRow = -1;
    if (m_shownRows > 0 && columnCount() > 0)
        Q_EMIT dataChanged(index(0, 0), index(m_shownRows - 1, columnCount() - 1));
}

Qt::ItemFlags FlexGridModel::flags(const QModelIndex &index) const
{
    const bool isEditable =
        m_edits && index.isValid() && m_edits->mayEdit(storedRow(index.row()), index.column());
    return QAbstractTableModel::flags(index) | (isEditable ? Qt::ItemIsEditable : Qt::NoItemFlags);
}

int FlexGridModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_shownRows;
}

int FlexGridModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_fields.size());
}

namespace {

// A value of several lines, which its cell shows as one; nothing for others.
QVariant linesOf(const Cell &value)
{
    constexpr std::size_t most = 2000;
    if (value.isNull || value.bytes.find('\n') == std::string_view::npos)
        return {};
    const std::string_view shown = value.bytes.substr(0, most);
    return plainTip(QString::fromUtf8(shown.data(), static_cast<qsizetype>(shown.size())) +
                    (shown.size() < value.bytes.size() ? QStringLiteral("\n…") : QString()));
}

} // namespace

QVariant FlexGridModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    switch (role) {
    case Qt::DisplayRole: {
        const Cell &value = cell(index.row(), index.column());
        return value.isNull ? QStringLiteral("NULL") : cellLine(value.bytes, mostCellBytes);
    }
    case IsNullRole:
        return cell(index.row(), index.column()).isNull;
    case MarkRole:
        return m_edits ? QVariant(static_cast<int>(m_edits->mark(storedRow(index.row()), index.column())))
                       : QVariant();
    case Qt::ToolTipRole: {
        const QString tip = m_edits ? m_edits->tip(storedRow(index.row())) : QString();
        return tip.isEmpty() ? linesOf(cell(index.row(), index.column())) : QVariant(plainTip(tip));
    }
    case Qt::TextAlignmentRole: {
        const bool isNumber = m_fields[static_cast<std::size_t>(index.column())].kind == FieldKind::Number;
        return QVariant(Qt::AlignVCenter | (isNumber ? Qt::AlignRight : Qt::AlignLeft));
    }
    default:
        return {};
    }
}

// No colours of its own: the style would keep a new picture of the section, and its name for ever, with each
// painting.
QVariant FlexGridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Vertical)
        return role == Qt::DisplayRole ? QVariant(section + 1) : QVariant();
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    if (section < 0 || section >= columnCount())
        return {};
    const QString &name = m_fields[static_cast<std::size_t>(section)].name;
    if (role == Qt::ToolTipRole)
        return plainTip(name);
    // The name of an expression is its text, line breaks and all.
    return cellLine(name.toStdString(), mostCellBytes);
}

void FlexGridModel::sortRows(int column, Qt::SortOrder direction)
{
    m_sortedColumn = column;
    m_sortDirection = direction;
    giveUpJobs();
    if (column < 0) {
        applyOrder({});
        return;
    }
    const FieldKind kind = m_fields[static_cast<std::size_t>(column)].kind;
    if (m_rows.rowCount() <= mostRowsAtOnce)
        applyOrder(sortedOrder(m_rows, column, kind, direction));
    else
        startJob(kind);
}

void FlexGridModel::startJob(FieldKind kind)
{
    SortJob *job = m_jobs.emplace_back(std::make_unique<SortJob>()).get();
    job->rows = m_rows;
    job->thread.reset(QThread::create([job, kind, column = m_sortedColumn, direction = m_sortDirection] {
        job->order = sortedOrder(job->rows, column, kind, direction, job->stop.get_token());
    }));
    connect(job->thread.get(), &QThread::finished, this, [this, job] { finishJob(job); });
    job->thread->start();
}

void FlexGridModel::finishJob(const SortJob *job)
{
    const auto found = std::ranges::find(m_jobs, job, &std::unique_ptr<SortJob>::get);
    const std::unique_ptr<SortJob> done = std::move(*found);
    m_jobs.erase(found);
    if (!done->stop.stop_requested())
        applyOrder(std::move(done->order));
}

void FlexGridModel::giveUpJobs()
{
    for (const auto &job : m_jobs)
        job->stop.request_stop();
}

// Every cell may hold another value now; no row came or went, so nothing needs to be laid out again.
void FlexGridModel::applyOrder(std::vector<std::uint32_t> order)
{
    m_order = std::move(order);
    editsChanged();
    Q_EMIT sortDone();
}

QString cellLine(std::string_view bytes, std::size_t mostBytes)
{
    const bool isCut = bytes.size() > mostBytes;
    if (isCut) {
        bytes = bytes.substr(0, mostBytes);
        // Not in the middle of a character.
        std::size_t end = bytes.size();
        while (end > 0 && end + 4 > bytes.size() &&
               (static_cast<unsigned char>(bytes[end - 1]) & 0xc0) == 0x80)
            --end;
        if (end > 0 && static_cast<unsigned char>(bytes[end - 1]) >= 0xc0)
            --end;
        bytes = bytes.substr(0, end);
    }
    QString line = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
    line.replace(QStringLiteral("\r\n"), QStringLiteral("↵"));
    for (QChar &character : line) {
        if (character == u'\n' || character == u'\r' || character == QChar::LineSeparator ||
            character == QChar::ParagraphSeparator)
            character = u'↵';
        else if (character < u' ' || character == u'\x7f')
            character = u' ';
    }
    return isCut ? line + u'…' : line;
}
