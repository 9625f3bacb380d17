#pragma once

#include "core/sql/connection.h"

#include <QString>

#include <optional>
#include <vector>

// A system variable with its values as the server words them; none where it has none, or does not tell.
struct Variable {
    enum class Kind { Unknown, Number, Text };

    QString name; // in small letters
    std::optional<QString> session, global, preset;
    bool isChanged = false;    // the global value is not the default one
    bool mayBeChanged = false; // it was set for all or for one session: the server does not tell which
    QString origin;            // where the global value comes from
    Kind kind = Kind::Unknown;
    bool isReadOnly = false; // as far as the server tells
    QString about;           // what it takes and means; mostly empty
};

struct VariableList {
    std::vector<Variable> variables; // by name
    bool tellsPresets = false;       // the server knows what is default and what was changed
    bool hasPersist = false;         // SET PERSIST
    bool escapes = true;             // a backslash in quotes is one of an escape
};
VariableList readVariables(Connection &connection);
const Variable *variableOf(const VariableList &list, const QString &name); // null: there is none

enum class VariableScope { Session, Global, Persist, PersistOnly };

// What changes a variable: "SET GLOBAL max_connections = 200". No value: back to the default one. Throws
// Failure for names that are none.
QString setVariableStatement(VariableScope scope, const VariableList &list, const Variable &variable,
                             const std::optional<QString> &value);
// The whole value at the scope, as the server has it now; none where it has none.
std::optional<QString> readVariable(Connection &connection, VariableScope scope, const QString &name);
// What the server says of a value that it took, but not as it stood: "Truncated incorrect max_connections
// value". Empty: nothing.
QString readWarnings(Connection &connection);

// The variables with all values, one a line, parted by TABs.
QString exportText(const std::vector<const Variable *> &variables);
