#pragma once

#include "server/serverpage.h"

#include <vector>

// All pages of the server window in their order.
std::vector<ServerPage *> makeServerPages(const ServerSurroundings &around);
