#pragma once

#include "controls/grid/packedrows.h"
#include "core/sql/recordset.h"

#include <cstdint>
#include <stop_token>
#include <vector>

// The rows' numbers in the order of one column: numbers by value, texts without regard to the case of
// Latin letters, NULL before everything else. Equal rows keep the server's order, descending too.
// Empty when it was asked to stop.
std::vector<std::uint32_t> sortedOrder(const PackedRows &rows, int column, FieldKind kind,
                                       Qt::SortOrder direction, const std::stop_token &stop = {});

// Below, at or above 0. Texts of numbers of any length are compared exactly.
int compareNumbers(std::string_view left, std::string_view right);
int compareTexts(std::string_view left, std::string_view right);
