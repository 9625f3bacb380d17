#include "transfer/commands.h"

#include "controls/grid/flexgrid.h"
#include "transfer/csv/csvexportwindow.h"
#include "transfer/csv/csvimportwindow.h"
#include "transfer/dump/dumpwindow.h"
#include "transfer/load/loadwindow.h"

namespace {

void show(QWidget *window)
{
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace

void openDumpWindow(Session &session, const Selection &selection, bool isTableOnly)
{
    QStringList names, chosen;
    for (const QString &item : selection.tables)
        names << ListItem::parse(item).name;
    if (isTableOnly && !selection.table.isEmpty())
        chosen << ListItem::parse(selection.table).name;
    show(new DumpWindow(session, session.gDbName, names, chosen));
}

void openLoadWindow(Session &session)
{
    show(new LoadWindow(session));
}

void openCsvImportWindow(Session &session, const Selection &selection)
{
    show(new CsvImportWindow(session,
                             selection.table.isEmpty() ? QString() : ListItem::parse(selection.table).name));
}

void offerExport(QWidget &window, Session &session)
{
    for (FlexGrid *grid : window.findChildren<FlexGrid *>())
        QObject::connect(grid, &FlexGrid::exportRequested, grid,
                         [grid, &session] { show(new CsvExportWindow(session, *grid)); });
}

void offerExport(FlexGrid &grid, const std::shared_ptr<Session> &session)
{
    QObject::connect(&grid, &FlexGrid::exportRequested, &grid, [&grid, session] {
        auto *window = new CsvExportWindow(*session, grid);
        QObject::connect(window, &QObject::destroyed, [session] {});
        show(window);
    });
}
