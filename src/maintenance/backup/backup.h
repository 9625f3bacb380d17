#pragma once

#include "core/command/command.h"

// Definitions and rows of the batch's tables, as files that the server writes into a chosen folder.
Outcome backUpTables(CommandContext &context);
