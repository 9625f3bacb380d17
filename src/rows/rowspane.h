#pragma once

#include "controls/grid/flexgrid.h"
#include "rows/conditionline.h"

#include <QLabel>
#include <QPushButton>
#include <QWidget>

// A grid of rows with what stands around it: the conditions and the statement above, what is changed and the
// way to other pages below. Shown as long as the grid is to be.
class RowsPane : public QWidget {
    Q_OBJECT

public:
    explicit RowsPane(FlexGrid &grid);

    FlexGrid &grid;
    ConditionLine *rowsWhere, *rowsOrder;
    QLineEdit *rowsStatement; // the one that gave the rows
    QLabel *rowsState;
    QPushButton *previousRows, *nextRows, *showRowStatements, *cancelRows, *saveRows, *undoSavedRows;

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
};
