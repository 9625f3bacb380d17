#pragma once

#include "core/dialogue.h"
#include "core/session.h"

struct TarnwellControls;

// Reads the first rows of the chosen table into flGrid_Data. The button that starts it stops it: the run
// flag is the button's tag text, "True" while rows are read.
class DataViewer {
public:
    DataViewer(Session &session, TarnwellControls &controls, Dialogue &dialogue);

    void cmdDataGet_Click();
    bool isRunning() const;
    // Asks a running read to end; it does so at its next row, or at once while the server thinks.
    void stop();

private:
    void setRunning(bool isRunning);
    void read();
    void readRows(RecordSet &rows);

    Session &m_session;
    TarnwellControls &m_controls;
    Dialogue &m_dialogue;
};
