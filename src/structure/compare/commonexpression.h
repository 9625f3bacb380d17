#pragma once

#include "core/sql/tabledefinition.h"

// One form for what the servers mean by an expression of a definition, for comparing alone: MySQL 8 and 9 put
// all parts of one into parentheses and name the character set of texts, MariaDB leaves out what goes without
// saying. What cannot be taken apart keeps its words, so that a difference is never hidden.
QString commonExpression(const SqlTokens &words, std::size_t first, std::size_t end);
