#pragma once

#include <QAbstractTableModel>

#include <functional>
#include <vector>

// A row that is known by its key as long as the server has it.
struct KeyedRow {
    QString key;
    QStringList cells;
    bool isMarked = false;
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

    // All rows, as they are now; each key stands for one of them.
    void update(std::vector<KeyedRow> rows);
    // Rows without the text in any cell are not shown, nor those that do not meet the condition.
    void setFilter(const QString &text);
    void setCondition(std::function<bool(const KeyedRow &row)> condition);
    // The shown row; valid until the next of the above.
    const KeyedRow &row(int shown) const;
    int storedCount() const { return static_cast<int>(m_rows.size()); }

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
    void replaceRows(std::vector<KeyedRow> rows, const std::vector<int> &places);

    const std::vector<KeyedColumn> m_columns;
    std::vector<KeyedRow> m_rows; // in the server's order
    Order m_order;
    QString m_filter;
    std::function<bool(const KeyedRow &)> m_condition;
    int m_sortedColumn = -1;
    Qt::SortOrder m_direction = Qt::AscendingOrder;
};
