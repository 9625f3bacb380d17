#pragma once

#include "core/command/sessionvariables.h"
#include "core/sql/lexer.h"

// An object as SHOW CREATE tells of it: its text in the server's own words, and how the session was when it
// was made, which no text carries.
struct ObjectDefinition {
    QString kind; // "Table", "View", "Procedure", ...: the first column's name, trimmed; empty: no row came
    QString text; // empty where the account may not read it
    // Null where the kind has none.
    QString sqlMode, characterSet, collation, databaseCollation, timeZone;

    bool operator==(const ObjectDefinition &) const = default;
};
// The one reader of SHOW CREATE TABLE, VIEW, PROCEDURE, FUNCTION, TRIGGER and EVENT. Throws Failure.
ObjectDefinition readDefinition(Connection &connection, const QString &showStatement);

// What the session has to be set to for the object to be made as it was, as far as it is not so already.
std::vector<SessionVariable> sessionFor(const ObjectDefinition &definition, const SessionVariables &present);
// The names to be read for that.
QStringList definitionVariables();

// The server reads a statement in the session's character set, and a connection sends UTF-8. Where that is
// another text, the statement goes as hex digits; empty where the server has no way to take it so.
QString asSentWith(const QString &statement, const std::vector<SessionVariable> &with,
                   const ServerInfo &server);

// The account as `user`@`host`, whatever quotes it is written in; a role has no host.
QString quotedAccount(const QString &written);

// What an sql_mode changes about reading a text.
SqlMode readingMode(const QString &sqlMode);

// What stands before VIEW, PROCEDURE, FUNCTION, ... in a CREATE text, all as written there; empty: not said.
struct DefinitionHead {
    QString algorithm, definer, security;
    bool isAggregate = false;
    QString keyword;       // VIEW, PROCEDURE, ..., in capitals
    qsizetype tail = -1;   // where the text goes on behind the keyword; -1: there is none
    bool replaces = false; // CREATE OR REPLACE, ALTER
};
DefinitionHead headOf(const QString &createText, SqlMode mode);

// The text without the clause that names its definer; the account that runs it becomes that.
QString withoutDefiner(const QString &createText, SqlMode mode);
