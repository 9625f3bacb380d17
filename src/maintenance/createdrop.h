#pragma once

#include "core/command/command.h"

// cmdDropDb. What the server refuses is thrown (Failure): the window shows its words and reloads nothing.
Outcome dropDatabase(CommandContext &context);
// cmdDropTable: the table or view shown in the detail. The server says which of the two it is, or the user
// where the server cannot.
Outcome dropTable(CommandContext &context);
