#pragma once

#include "core/command.h"

// kind is the list item's tag: "[PROC]" is a procedure, anything else a function.
QString routineShowStatement(const QString &kind, const QString &database, const QString &name);
// The server's definition (third column of the row) as it is edited: CR LF, no backticks.
QString shownRoutineText(const QString &serverText);

// The statement that makes a routine from an edited text: whatever stands before the keyword is replaced,
// what follows it is the user's.
QString createRoutineStatement(const QString &kind, const QString &database, const QString &text);

// cmdCreateProc: drops the chosen routine and makes it again from the edited text, or as it was.
Outcome changeRoutine(CommandContext &context);
// cmdDropProc. What the server refuses is thrown (SqlError), for the window to show.
Outcome dropRoutine(CommandContext &context);
