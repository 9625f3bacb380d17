#pragma once

#include "core/sql/tabledefinition.h"
#include "structure/compare/databasecompare.h"

struct ServersTable {
    TableDefinition table;
    const DefaultCollations &collations;
    const ServerInfo &server;
};
// The wanted definition with the table's own words wherever the two differ only in what does not count, or in
// what servers of another brand or version write of the same thing.
TableDefinition likeness(const ServersTable &is, const ServersTable &wanted, const CompareOptions &options);
// The same for statements: what is really different is in words that the table's server takes.
TableDefinition takenLikeness(const ServersTable &is, const ServersTable &wanted,
                              const CompareOptions &options);
