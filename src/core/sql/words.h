#pragma once

#include "core/sql/lexer.h"

#include <QStringList>

#include <vector>

// A statement's tokens without layout, comments and the signs of /*! */.
struct SqlWord {
    TokenKind kind;
    QString small; // a word in small letters, anything else as it was written
    QString written;
    int depth; // of parentheses around it
};
std::vector<SqlWord> sqlWords(QStringView statement, SqlMode mode = {});

// Bare words in small letters, signs, and what begins /*! */: names in quotes, texts and numbers are left
// out.
QStringList bareWords(QStringView statement, SqlMode mode = {});
