#pragma once

#include "core/session/session.h"

class FlexGrid;

// Fills the grid with the server's plan for the statement, its line breaks as typed. A statement that the
// server does not explain ends it without a message; the grid keeps what was filled so far.
void explain(Session &session, const QString &statement, FlexGrid &grid);
