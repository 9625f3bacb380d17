#pragma once

#include "core/connection.h"
#include "core/sql/lexer.h"

// An object as SHOW CREATE tells of it: its text in the server's own words, and how the session was when it
// was made, which no text carries.
struct ObjectDefinition {
    QString kind; // "Table", "View", "Procedure", ...: the first column's name, trimmed; empty: no row came
    QString text; // empty where the account may not read it
    QString sqlMode, characterSet, collation, databaseCollation; // empty where the kind has none

    bool operator==(const ObjectDefinition &) const = default;
};
// The one reader of SHOW CREATE TABLE, VIEW, PROCEDURE, FUNCTION, TRIGGER and EVENT. Throws SqlError.
ObjectDefinition readDefinition(Connection &connection, const QString &showStatement);

// What an sql_mode changes about reading a text.
SqlMode readingMode(const QString &sqlMode);

// What stands before VIEW, PROCEDURE, FUNCTION, ... in a CREATE text, all as written there; empty: not said.
struct DefinitionHead {
    QString algorithm, definer, security;
    bool isAggregate = false;
    qsizetype tail = -1; // where the text goes on behind the keyword; -1: there is none
};
DefinitionHead headOf(const QString &createText, SqlMode mode);
