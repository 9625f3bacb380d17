#pragma once

#include "controls/grid/celldelegate.h"
#include "rows/rowvalue.h"

#include <optional>

class RowGrid;

// Edits a cell in its place: a line, or the choices of an ENUM. What is left as it was changes nothing.
class RowDelegate : public CellDelegate {
    Q_OBJECT

public:
    explicit RowDelegate(RowGrid &grid);

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;

private:
    RowGrid &m_grid;
};

// Values of several lines, bytes, JSON and SETs are edited in a window of their own.
bool needsWindow(const TableColumn &column, const RowValue &value);
// Shows that window, "valueEditor"; nothing: it was cancelled, or the value left as it was.
std::optional<RowValue> askForValue(QWidget *parent, const TableColumn &column, const RowValue &value);

// Empty for a text that is JSON, else where and why it is not.
QString whyNotJson(const QString &text);
