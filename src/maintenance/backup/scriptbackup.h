#pragma once

#include "core/command/command.h"

// The creation text of every table, view, procedure and function of gDbName, one file each, in a folder
// that the user chooses.
Outcome backUpScripts(CommandContext &context);
