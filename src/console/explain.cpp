#include "console/explain.h"

#include "controls/flexgrid.h"
#include "controls/windowpump.h"
#include "core/statements.h"

void explain(Session &session, const QString &statement, FlexGrid &grid)
{
    grid.clearGrid();
    const RedrawOff redrawOff(grid);
    try {
        RecordSet plan = session.connection().execute(QStringLiteral("EXPLAIN ") + trimmedBlanks(statement));
        if (!plan.isOpen())
            return;
        grid.setFields(plan.fields());
        Yield yield;
        while (!plan.isEof()) {
            grid.appendRow(plan.cells());
            yield();
            plan.moveNext();
        }
    } catch (const SqlError &) {
        // Not every statement has a plan: that is no failure.
    }
}
