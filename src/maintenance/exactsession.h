#pragma once

#include "core/command/sessionvariables.h"

// Session settings under which values and definitions leave the server and come back unchanged.
std::vector<SessionVariable> exactVariables(const ServerInfo &server);
