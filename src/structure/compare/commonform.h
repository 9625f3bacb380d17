#pragma once

#include "core/sql/tabledefinition.h"

struct ServersTable;

// What servers of all brands and versions mean by parts of a table, in one form that is for comparing alone.
QString commonForm(const TablePart &part, const ServersTable &side, bool hasCharacterSets);
QString commonPartitions(const QString &partitions);
QString collationOf(const ServersTable &side);

// Whether a column is what MariaDB makes of the word JSON.
bool isJsonOfMariaDb(const TablePart &part);
// Where a column's own CHECK begins, as MariaDB writes it; the end of its words where it has none.
std::size_t checkIn(const SqlTokens &words);
// Whether it stands behind DEFAULT: MariaDB writes functions without parentheses around them.
bool isExpressionAsDefault(const SqlTokens &words, std::size_t at);
