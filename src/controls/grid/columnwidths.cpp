#include "controls/grid/columnwidths.h"

#include "controls/grid/flexgrid.h"
#include "core/session/wholefile.h"

#include <QFile>
#include <QGuiApplication>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

constexpr qsizetype mostTables = 300;
constexpr int widest = 10000;

} // namespace

ColumnWidths::ColumnWidths(FlexGrid &grid, QString file)
    : m_grid(grid)
    , m_file(std::move(file))
{
    connect(grid.horizontalHeader(), &QHeaderView::sectionResized, this,
            [this](int column, int, int width) { note(column, width); });
    m_soon.setSingleShot(true);
    m_soon.setInterval(2000);
    connect(&m_soon, &QTimer::timeout, this, &ColumnWidths::save);
}

ColumnWidths::~ColumnWidths()
{
    save();
}

void ColumnWidths::show(const QString &table)
{
    m_table = table;
    if (table.isEmpty())
        return;
    read();
    const auto kept = std::ranges::find(m_tables, table, &std::pair<QString, QHash<QString, int>>::first);
    if (kept == m_tables.end())
        return;
    m_tables.move(kept - m_tables.begin(), 0);
    const QHash<QString, int> &widths = m_tables.first().second;
    for (int column = 0; column < m_grid.columnCount(); ++column)
        if (const int width = widths.value(m_grid.fieldName(column)); width > 0)
            m_grid.setColumnWidth(column, width);
}

// Widths that are set in any other way come without a button that is held down.
void ColumnWidths::note(int column, int width)
{
    if (m_table.isEmpty() || !(QGuiApplication::mouseButtons() & Qt::LeftButton))
        return;
    if (m_tables.isEmpty() || m_tables.first().first != m_table)
        m_tables.prepend({m_table, {}});
    m_tables.first().second[m_grid.fieldName(column)] = width;
    m_tables = m_tables.mid(0, mostTables);
    m_isChanged = true;
    m_soon.start();
}

void ColumnWidths::read()
{
    if (std::exchange(m_isRead, true) || !whyLeftAlone(m_file).isEmpty())
        return;
    QFile file(m_file);
    if (!file.open(QIODevice::ReadOnly))
        return;
    for (const QJsonValue &entry : QJsonDocument::fromJson(file.readAll()).array()) {
        QHash<QString, int> widths;
        const QJsonObject columns = entry[QStringLiteral("columns")].toObject();
        for (auto column = columns.begin(); column != columns.end(); ++column)
            widths[column.key()] = std::clamp(column.value().toInt(), 0, widest);
        m_tables.append({entry[QStringLiteral("table")].toString(), widths});
    }
}

void ColumnWidths::save()
{
    if (!std::exchange(m_isChanged, false))
        return;
    QJsonArray tables;
    for (const auto &[table, widths] : m_tables) {
        QJsonObject columns;
        for (auto column = widths.begin(); column != widths.end(); ++column)
            columns[column.key()] = column.value();
        tables.append(QJsonObject{{QStringLiteral("table"), table}, {QStringLiteral("columns"), columns}});
    }
    saveWholeFile(m_file, QJsonDocument(tables).toJson(QJsonDocument::Compact), Readers::OwnerOnly);
}
