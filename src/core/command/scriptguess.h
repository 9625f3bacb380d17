#pragma once

#include "core/command/scriptfile.h"

// As what a file of SQL is to be run, judged by its first letters beyond ASCII as opening it would.
struct ScriptGuess {
    ScriptFile::Encoding encoding = ScriptFile::Encoding::Bytes;
    QString words; // on it, for the user; empty: the file cannot be read
};
ScriptGuess guessScript(const QString &path);
