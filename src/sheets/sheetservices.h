#pragma once

#include "controls/grid/editedrows.h"
#include "core/command/dialogue.h"
#include "core/session/historystore.h"
#include "core/session/session.h"
#include "core/sql/selectedtable.h"

#include <functional>
#include <memory>

class FlexGrid;
class QWidget;

// What the sheets need of the program's other rooms. What is missing is not offered.
struct SheetServices {
    std::function<void(const HistoryEntry &)> remember;
    // Lets the user choose from the history; the statement goes to the function. Says why there is none;
    // empty where it opened.
    std::function<QString(QWidget *window, const std::function<void(const QString &)> &put)> openHistory;
    // The statements that were run last, the newest first.
    std::function<QStringList()> lastStatements;
    // Lets a grid's menu write its rows into a file.
    std::function<void(FlexGrid &grid, const std::shared_ptr<Session> &session)> offerExport;
    // Makes the rows of a result ready to be edited over the session's connection; null: it has been told why
    // not. What it needs outlives it.
    std::function<std::unique_ptr<EditedRows>(Session &session, Dialogue &dialogue, FlexGrid &grid,
                                              const SelectedTable &table)>
        editRows;
};
