#pragma once

#include "core/sql/tabledefinition.h"

#include <QStringList>

// The columns of the table whose values the statement may round, cut or fill up without the server's refusing
// it, even in strict mode: "d: decimal(8,3) → int".
QStringList quietLosses(const QString &statement, const TableDefinition &from, SqlMode mode);
