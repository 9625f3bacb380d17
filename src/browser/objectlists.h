#pragma once

#include "core/session/session.h"

struct TarnwellControls;

// How far the user has come; the empty list that comes next says what to do.
enum class NextStep { Connect, Connecting, ListDatabases, ChooseDatabase, Reading, DatabaseChosen };
void showNextStep(TarnwellControls &controls, NextStep step);

// The cascade of lists: databases, then the tables, views and routines of the chosen one. Both throw
// Failure for what is not passed over; what was listed so far stays.
class ObjectLists {
public:
    ObjectLists(Session &session, TarnwellControls &controls)
        : m_session(session)
        , m_controls(controls)
    {
    }

    void cmdShowDb_Click();
    void lstDb_Click();

private:
    void resetGrids();

    Session &m_session;
    TarnwellControls &m_controls;
};
