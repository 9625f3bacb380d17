#pragma once

#include <QHash>
#include <QObject>
#include <QTimer>

class FlexGrid;

// The widths that the user gave to columns, by table, in a file. Widths that the grid chose itself are not
// kept. A file that cannot be read or written costs the widths, nothing else.
class ColumnWidths : public QObject {
public:
    // The grid outlives it.
    ColumnWidths(FlexGrid &grid, QString file);
    ~ColumnWidths() override;

    // The grid shows rows of this table from now on: its columns get the widths that were kept. Empty: of
    // none.
    void show(const QString &table);

private:
    void read();
    void note(int column, int width);
    void save();

    FlexGrid &m_grid;
    const QString m_file;
    QString m_table;
    QList<std::pair<QString, QHash<QString, int>>> m_tables; // the one used last in front
    bool m_isRead = false, m_isChanged = false;
    QTimer m_soon;
};
