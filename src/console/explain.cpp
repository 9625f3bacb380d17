#include "console/explain.h"

#include "controls/grid/flexgrid.h"
#include "controls/window/windowpump.h"
#include "core/sql/statements.h"
#include "core/sql/trackedsession.h"

namespace {

QString setFormat(const QString &format)
{
    return QStringLiteral("set session explain_format = ") + format;
}

// MySQL has a session's form of plans since 8.0.32, and since 9 it is a tree unless told otherwise. Gives
// what it was; empty: the plan comes as a table anyway.
QString askForTable(Connection &connection)
{
    const ServerInfo server = connection.server();
    if (server.isMariaDb || server.number < 80032)
        return {};
    const QString table = QStringLiteral("TRADITIONAL");
    RecordSet answer = connection.execute(QStringLiteral("select @@session.explain_format"));
    const QString before = answer.isOpen() && !answer.isEof() ? answer.text(0) : table;
    if (before == table)
        return {};
    executeOwn(connection, setFormat(table));
    return before;
}

// A plan that is one text (a tree, JSON) has a row for each of its lines.
void appendLines(FlexGrid &grid, std::string_view text)
{
    for (std::size_t from = 0; from <= text.size();) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        const Cell line{text.substr(from, end - from), false};
        if (end < text.size() || !line.bytes.empty())
            grid.appendRow({&line, 1});
        from = end + 1;
    }
}

void fill(FlexGrid &grid, RecordSet &plan)
{
    if (!plan.isOpen())
        return;
    grid.setFields(plan.fields());
    Yield yield;
    for (; !plan.isEof(); plan.moveNext()) {
        if (plan.fields().size() == 1 && !plan.isNull(0))
            appendLines(grid, plan.cells().front().bytes);
        else
            grid.appendRow(plan.cells());
        yield();
    }
}

} // namespace

void explain(Session &session, const QString &statement, FlexGrid &grid)
{
    grid.clearGrid();
    const RedrawOff redrawOff(grid);
    QString formatBefore;
    try {
        formatBefore = askForTable(session.connection());
        RecordSet plan = session.connection().execute(QStringLiteral("EXPLAIN ") + trimmedBlanks(statement));
        fill(grid, plan);
    } catch (const Failure &) {
        // Not every statement has a plan: that is no failure.
    }
    if (formatBefore.isEmpty())
        return;
    const Undoing undoing(session); // also when the plan was stopped
    try {
        executeOwn(session.connection(), setFormat(formatBefore));
    } catch (const Failure &) {
        // The connection is lost, and what was set for it with it.
    }
}
