#pragma once

#include "core/command/command.h"

// cmdCreateTable: applies the edited CREATE text. A table is rebuilt under the name that the text gives it,
// its rows copied aside and back; a view is dropped and made again.
Outcome changeTable(CommandContext &context);
