#pragma once

#include "core/command/dialogue.h"
#include "core/session/session.h"

// Gives a table or view another name, after what would still name the old one has been told. Where the answer
// does not come, what exists tells whether it was done. False: nothing was changed. Throws Failure.
bool renameTable(Session &session, Dialogue &dialogue, const QString &database, const QString &oldName,
                 const QString &newName);
