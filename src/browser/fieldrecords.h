#pragma once

#include "core/recordset.h"
#include "core/session.h"

#include <span>
#include <vector>

// The column record of one row of "show full fields"; members are filled by columns of exactly their name.
FieldRec fieldRecord(const std::vector<Field> &fields, std::span<const Cell> row);
