#pragma once

#include "maintenance/recovery.h"
#include "maintenance/tablechangestate.h"

// Undoes what was done, as far as the stage asks for it, and stops at the first statement that fails: the
// copy is dropped only when its rows are in a table again. Where a statement is in doubt, what exists is read
// from the server first, over a new connection if need be. Never throws.
RecoveryReport recoverTable(Session &session, const TableChange &change, Doubt doubt);
