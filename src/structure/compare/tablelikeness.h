#pragma once

#include "core/sql/tabledefinition.h"
#include "structure/compare/databasecompare.h"

// The wanted definition with the table's own words wherever the two differ only in what does not count.
TableDefinition likeness(const TableDefinition &is, TableDefinition wanted, const CompareOptions &options);
