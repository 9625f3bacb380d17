#pragma once

#include "maintenance/recovery.h"
#include "maintenance/tablechangestate.h"

// Undoes what was done, as far as the stage asks for it, and stops at the first statement that fails: the
// copy is dropped only when its rows are in a table again. Where an answer was lost, a new connection is made
// once and what exists is read from it first. Never throws.
RecoveryReport recoverTable(Session &session, const TableChange &change, bool answerLost);
