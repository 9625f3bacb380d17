#pragma once

#include "structure/search/searchhit.h"

#include <QAbstractTableModel>
#include <QTableView>

// The hits of a search in the order in which they came.
class HitRows : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    void clear();
    void append(SearchHits hits);
    const SearchHit &hit(int row) const { return m_hits[static_cast<std::size_t>(row)]; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    SearchHits m_hits;
};

// Their list: Enter or a double click opens one.
class HitList : public QTableView {
    Q_OBJECT

public:
    HitList(const char *name, HitRows &rows);
    void setPlaceholderText(const QString &text);

Q_SIGNALS:
    void opened(const SearchHit &hit);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void fitRows();
    void open(const QModelIndex &index);

    HitRows &m_rows;
    QString m_placeholder;
};
