#pragma once

#include "core/command.h"

#include <span>

// The commands of the main window that change or drop definitions.
std::span<const Command> ddlCommands();
