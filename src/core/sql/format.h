#pragma once

#include "core/sql/lexer.h"

#include <QByteArray>

enum class KeywordCase { AsIs, Upper, Lower };

// A script laid out anew: a clause a line, lists indented, statements apart. Only blanks and line ends
// between the tokens change, and the case of keywords where that is wanted: the tokens are the same, in the
// same order. Text in quotes, comments and routines' bodies keep theirs.
QByteArray formattedSql(const QByteArray &script, SqlMode mode, KeywordCase keywords);

// Whether two scripts differ in nothing but layout, and in the case of bare words where that may.
bool haveSameTokens(const QByteArray &left, const QByteArray &right, SqlMode mode, bool mayDifferInCase);
