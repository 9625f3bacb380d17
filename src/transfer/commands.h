#pragma once

#include "controls/dialogue/savedconnections.h"
#include "core/command/command.h"

#include <memory>
#include <span>

class FlexGrid;
class QWidget;

// The windows of this room, each opened by one call and made only then.

// Of the database that the selection names; with its tables and views, `isTableOnly`: only the chosen one
// ticked.
void openDumpWindow(Session &session, const Selection &selection, bool isTableOnly);
void openCopyWindow(Session &session, const Selection &selection, bool isTableOnly, SavedConnections saved);
void openLoadWindow(Session &session);
void openCsvImportWindow(Session &session, const Selection &selection);
// What runs in them and would be lost if the program ended; see TransferWindow.
QStringList transfersToLose();
// Lets the menu of every grid of the window write its rows into a file.
void offerExport(QWidget &window, Session &session);
// The same for one grid. The session, of the connection that gave its rows, lives as long as that is offered
// or done.
void offerExport(FlexGrid &grid, const std::shared_ptr<Session> &session);
