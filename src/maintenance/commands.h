#pragma once

#include "core/command/command.h"

// The commands of this folder.
std::span<const Command> maintenanceCommands();
