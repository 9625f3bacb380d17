#pragma once

#include "controls/grid/celldelegate.h"
#include "rows/rowvalue.h"

#include <QDate>
#include <QLineEdit>

class RowGrid;

// The text of a DATE, DATETIME or TIMESTAMP with another date; what stands behind the date stays, to the last
// digit.
QString withDate(const QString &text, QDate date, const TableColumn &column);

// A line for the value of a cell, "cellLine". An empty one says whether it is NULL or an empty text; Ctrl+0
// changes between them, and typing makes a text of NULL. A date can be chosen from a calendar (the button at
// its end, or Alt+Down), which puts it over the date in the text and leaves the rest as it is.
class CellLine : public QLineEdit {
    Q_OBJECT

public:
    CellLine(const TableColumn &column, const RowValue &value, QWidget *parent);

    // Nothing: left as it was.
    std::optional<RowValue> edited() const;
    // Why what was edited is no value; empty: it is one, or nothing was edited.
    QString refusal() const;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool isAsBefore() const { return m_isNull == !m_before && text() == m_textBefore; }
    void setNull(bool isNull);
    void openCalendar();

    const TableColumn m_column;
    const RowValue m_before;
    QString m_textBefore;
    bool m_isNull = false;
};

// Edits a cell in its place: a line, or the choices of an ENUM. What is left as it was changes nothing.
class RowDelegate : public CellDelegate {
    Q_OBJECT

public:
    explicit RowDelegate(RowGrid &grid);

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *, const QModelIndex &) const override {} // it was made with its value
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;

private:
    RowGrid &m_grid;
};
