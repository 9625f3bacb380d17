#pragma once

#include <QObject>

class RowGrid;

// The keys that edit the rows of a grid.
class RowKeys : public QObject {
public:
    // Belongs to the rows.
    explicit RowKeys(RowGrid &rows);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    RowGrid &m_rows;
};
