#pragma once

#include "core/sql/connection.h"

// Whether two connections lead to the same data, by whatever way: to one server, or to two of one cluster.
// In doubt they do. Throws Failure.
bool isSameServer(Connection &one, Connection &other);
