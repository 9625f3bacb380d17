#pragma once

#include "server/overview/overviewpage.h"

// How large the tables and indexes of all databases are, and which indexes nobody needs.
std::vector<Overview> sizeOverviews();
