#pragma once

#include "core/sql/lexer.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

// A statement that takes away more than one may have meant: UPDATE and DELETE without WHERE and LIMIT, DROP,
// TRUNCATE.
struct Danger {
    QString what;  // "UPDATE t（WHERE なし）"
    QString table; // whose rows it takes, as written; empty: none that can be counted
};

// Nothing: it is none of these.
std::optional<Danger> dangerOf(const QByteArray &statement, SqlMode mode = {});

// What is to be asked before a text is run.
struct Risks {
    bool mayChange = false; // something on the server
    std::vector<Danger> dangers;
};
// mode: as the server reads the text's beginning. isScript: else it is one statement, whatever it holds.
Risks risksOf(const QByteArray &text, bool isScript, SqlMode mode);
