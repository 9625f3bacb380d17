#pragma once

#include "core/command.h"

// The buttons that work on one table or all of them, with backup, restore and scripts.
std::span<const Command> batchCommands();
