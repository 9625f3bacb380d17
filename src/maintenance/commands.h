#pragma once

#include "core/command.h"

// The commands of this folder.
std::span<const Command> maintenanceCommands();
