#include "transfer/commands.h"

#include "controls/grid/flexgrid.h"
#include "transfer/copy/copywindow.h"
#include "transfer/csv/csvexportwindow.h"
#include "transfer/csv/csvimportwindow.h"
#include "transfer/dump/dumpwindow.h"
#include "transfer/load/loadwindow.h"

#include <QApplication>

namespace {

void show(QWidget *window)
{
    window->show();
    window->raise();
    window->activateWindow();
}

QStringList namesOf(const Selection &selection)
{
    QStringList names;
    for (const QString &item : selection.tables)
        names << ListItem::parse(item).name;
    return names;
}

QStringList chosenOf(const Selection &selection, bool isTableOnly)
{
    return isTableOnly && !selection.table.isEmpty() ? QStringList(ListItem::parse(selection.table).name)
                                                     : QStringList();
}

} // namespace

void openDumpWindow(Session &session, const Selection &selection, bool isTableOnly)
{
    show(new DumpWindow(session, session.gDbName, namesOf(selection), chosenOf(selection, isTableOnly)));
}

void openCopyWindow(Session &session, const Selection &selection, bool isTableOnly, SavedConnections saved)
{
    show(new CopyWindow(session, session.gDbName, namesOf(selection), chosenOf(selection, isTableOnly),
                        std::move(saved)));
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

QStringList transfersToLose()
{
    QStringList running;
    for (const QWidget *window : QApplication::topLevelWidgets())
        if (const auto *transfer = qobject_cast<const TransferWindow *>(window))
            running << transfer->whatWouldBeLost();
    running.removeAll(QString());
    return running;
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
