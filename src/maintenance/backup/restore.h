#pragma once

#include "core/command/command.h"

// Tables and views of gDbName back from the files of a backup that the user chooses.
Outcome restoreTables(CommandContext &context);
