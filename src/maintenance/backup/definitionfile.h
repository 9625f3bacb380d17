#pragma once

#include "core/command/dialogue.h"

#include <vector>

// A definition file of a backup that this program made, checked.
struct Definition {
    QString name;
    QString statement; // creates the table or view in the default database
    bool isView = false;
    QString rowsPath; // empty for a view
};

// Reads the chosen files; in the result, what a view reads stands before it. Throws Failure naming the first
// that cannot be restored: no definition of a table or view of the file's name, or without its rows.
std::vector<Definition> readDefinitions(const RestoreChoice &choice);
