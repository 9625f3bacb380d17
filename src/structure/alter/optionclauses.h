#pragma once

#include "core/sql/tabledefinition.h"

#include <QStringList>

// The clauses of an ALTER TABLE that concern the table as a whole.
QStringList optionClauses(const TableDefinition &from, const TableDefinition &to);

// Whether columns without a character set of their own get another one.
bool changesCharacterSet(const TableDefinition &from, const TableDefinition &to);

// What stands at the statement's end, without a comma before it; empty where nothing differs. Alone, new
// partitions behind the last one are added without touching the others.
QString partitionClause(const QString &from, const QString &to, bool isAlone, SqlMode mode);
