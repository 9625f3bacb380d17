#pragma once

#include "core/sql/failure.h"

#include <cstdint>

// What one result may take, so that a server without end costs neither the memory nor the windows.

// Bytes that are kept in memory: a quarter of the machine's, at least 256 MB and at most 2 GB, or as many MB
// as TARNWELL_RESULT_MB says.
std::uint64_t mostResultBytes();
Failure resultTooLarge();

// As many columns as servers allow; throws Failure for more.
void requireFewColumns(std::int64_t columns);
