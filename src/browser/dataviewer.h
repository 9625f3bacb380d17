#pragma once

#include "core/command/dialogue.h"
#include "core/session/session.h"

#include <memory>

class ColumnWidths;
class RowsView;
struct TarnwellControls;

// Reads the first rows of the chosen table into flGrid_Data. The button that starts it is the stop button
// meanwhile.
class DataViewer {
public:
    DataViewer(Session &session, TarnwellControls &controls, Dialogue &dialogue, RowsView &rows);

    ~DataViewer();

    // The one thing that runs; a stop ends it at its next row, or at once while the server thinks.
    void cmdDataGet_Click();

private:
    void read();
    void readRows(RecordSet &rows);
    void showWidths();

    Session &m_session;
    TarnwellControls &m_controls;
    Dialogue &m_dialogue;
    RowsView &m_rows;
    std::unique_ptr<ColumnWidths> m_widths; // made by the first reading
};
