#pragma once

#include <QStyledItemDelegate>

// Draws a grid's cell: only as much text as fits, NULL in grey italics.
class CellDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};
