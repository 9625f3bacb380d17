#pragma once

#include <QAbstractTableModel>
#include <QHash>

#include <functional>
#include <vector>

// A row that is known by its key as long as the server has it.
struct KeyedRow {
    QString key;
    QStringList cells;
    bool isMarked = false;
};

// All rows of one reading. Thousands are made on the thread that read them: their index costs more than all
// that is left for the windows'.
struct KeyedTable {
    KeyedTable() = default;
    KeyedTable(std::vector<KeyedRow> rows); // NOLINT(google-explicit-constructor): that is all there is to it

    std::vector<KeyedRow> rows;
    QHash<QString, int> places; // of the keys; each stands for one of the rows
};

struct KeyedColumn {
    QString title;
    bool isNumber = false;
};

// Rows that are read again and again. What stays is changed in place, so that selection, order and scroll
// position outlive each reading, and thousands of rows cost no rebuilding.
class KeyedRows : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Role { KeyRole = Qt::UserRole + 1 };

    explicit KeyedRows(std::vector<KeyedColumn> columns, QObject *parent = nullptr);

    // All rows, as they are now.
    void update(KeyedTable table);
    // Rows without the text in any cell are not shown, nor those that do not meet the condition.
    void setFilter(const QString &text);
    void setCondition(std::function<bool(const KeyedRow &row)> condition);
    // The shown row; valid until the next of the above.
    const KeyedRow &row(int shown) const;
    int storedCount() const { return static_cast<int>(m_rows.size()); }
    // Its place in the last update(), shown or not; -1: it was not there.
    int place(const QString &key) const { return m_places.value(key, -1); }

    // By a column, or -1 for the server's order.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    using Order = std::vector<int>; // shown row to stored row

    bool isShown(const KeyedRow &row) const;
    Order wantedOrder() const;
    void show(Order order);
    void rearrange(Order order);
    std::vector<int> placesIn(const KeyedTable &table) const;
    void replaceRows(KeyedTable table, const std::vector<int> &places);

    const std::vector<KeyedColumn> m_columns;
    std::vector<KeyedRow> m_rows; // in the server's order
    QHash<QString, int> m_places; // of their keys
    Order m_order;
    QString m_filter;
    std::function<bool(const KeyedRow &)> m_condition;
    int m_sortedColumn = -1;
    Qt::SortOrder m_direction = Qt::AscendingOrder;
};
