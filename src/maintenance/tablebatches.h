#pragma once

#include "core/command/command.h"

// One statement for each table of the batch; its result rows are not looked at.
Outcome checkTables(CommandContext &context);
Outcome optimizeTables(CommandContext &context);
Outcome repairTables(CommandContext &context);
// Structure without keys, and rows, into back_NAME_yy_mm_dd of the same database.
Outcome copyTables(CommandContext &context);
