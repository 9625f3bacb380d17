#pragma once

#include "core/command/command.h"
#include "structure/alter/tablealter.h"

#include <optional>

// How much a change may have to copy, as the server guesses.
struct TableSize {
    qint64 rows = -1, bytes = -1; // -1: not known
};

// A table of the server's and what it is to become.
struct AlterRequest {
    AlteredTable table;
    QString sqlMode;    // of the session, but for NO_BACKSLASH_ESCAPES: no server's SHOW CREATE heeds it
    QString serverText; // as the server has it now
    TableDefinition from, to;
    TableSize size;
};

// What the selection's edited text asks for. None: it has been said why not; `outcome` says what is to be
// shown anew. Throws Failure.
std::optional<AlterRequest> readAlterRequest(CommandContext &context, Outcome &outcome);
