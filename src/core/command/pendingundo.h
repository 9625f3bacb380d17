#pragma once

#include "core/command/undolog.h"

// What an earlier start of the program left half done.

// Those of the server that the session is connected to.
std::vector<UndoFile> pendingUndoLogs(Session &session);
// After a connection was made: shows what is pending, and does what the user decides, until nothing is left
// or the rest is put off. Throws Failure.
void settlePendingUndoLogs(Session &session, Dialogue &dialogue);
