#pragma once

#include "core/command/command.h"

// kind is the list item's tag: "[PROC]" is a procedure, anything else a function.
QString routineShowStatement(const QString &kind, const QString &database, const QString &name);
// The server's definition as it is edited: CR LF, no backticks.
QString shownRoutineText(const QString &serverText);

// The statement that makes a routine of the account's own from an edited text: only what follows the keyword
// PROCEDURE or FUNCTION is the user's.
QString createRoutineStatement(const QString &kind, const QString &database, const QString &text);

// cmdCreateProc: drops the chosen routine and makes it again from the edited text, or as it was. Whatever
// stands before the keyword PROCEDURE or FUNCTION is kept as the server has it; what follows is the user's.
Outcome changeRoutine(CommandContext &context);
// cmdDropProc. What the server refuses is thrown (Failure), for the window to show.
Outcome dropRoutine(CommandContext &context);
