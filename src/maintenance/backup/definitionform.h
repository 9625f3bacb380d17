#pragma once

#include <QString>

// Whether a text is one statement, and the one that SHOW CREATE writes for the table or view of that name in
// the default database: backticks around the name, its letters in their case, no comment, nothing behind it.
// Whatever else a file may hold (accounts, events, other tables, a SELECT that fills the table) is no
// definition.
bool isTableDefinition(const QString &text, const QString &name);
bool isViewDefinition(const QString &text, const QString &name);
