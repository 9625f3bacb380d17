#pragma once

#include "structure/compare/databasecompare.h"

// In what a view, a routine, a trigger or an event is another one there, a line each for the user; what only
// another server writes otherwise is none. The collations are the defaults of the databases: a routine made
// again takes the one of the database that it comes into, so this is no difference of its own.
QStringList objectDifferences(const ObjectDefinition &left, const QString &leftDefault,
                              const ObjectDefinition &right, const QString &rightDefault,
                              const CompareOptions &options);
