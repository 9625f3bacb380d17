#pragma once

#include "server/overview/overviewpage.h"

// What comes from other servers, who takes it from here, the cluster, the binary logs.
std::vector<Overview> replicationOverviews();
// Plugins and storage engines.
std::vector<Overview> moduleOverviews();
