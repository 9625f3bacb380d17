#pragma once

#include "core/command/dialogue.h"

class QWidget;

// One window, "pendingChanges": the list of changes that an earlier start of the program left half done, with
// the statements of the chosen one, and a button for each thing that can be done with it.
PendingAnswer askPendingChanges(QWidget *parent, const std::vector<PendingChange> &changes);
