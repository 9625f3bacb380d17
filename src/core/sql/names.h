#pragma once

#include <QString>

// Refusals of names, before anything is sent: a database's name stands in backticks in a statement, all
// others stand bare, and a name must not make the statement act on another object instead of being refused.
// The server would read "a#b" as a and a comment, `a` with its backticks as a, "a b" as a with an alias. All
// throw Failure.

// Allowed is what the server reads as one name (letters, digits, "_", "$", what lies beyond ASCII; not digits
// alone), and what it can only refuse: such words joined by "-", and a number or "-" behind a blank. An empty
// name stands for the database alone.
void requireOwnName(const QString &database, const QString &name);
// A name that stands bare without a database, as a column in a list.
void requireBareName(const QString &name);
// A database in backticks.
void requireOwnDatabase(const QString &database);
// A database whose name is trimmed before it stands in backticks. No name ends in a blank.
void requireOwnTrimmedDatabase(const QString &database);
