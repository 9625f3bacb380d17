#pragma once

#include "core/command/command.h"
#include "core/command/undolog.h"

#include <functional>

// How a change of a table or view ends for the user: undone first, told afterwards.
Outcome endFailedChange(CommandContext &context, const Failure &error,
                        const std::function<UndoReport()> &undo);
Outcome endChange(CommandContext &context, const UndoReport &afterwards = {});

// cmdCreateTable where the chosen object is a view: it is dropped and made again from the edited text. What
// the text does not say (algorithm, definer, security) the new one has as the old one had it.
Outcome changeView(CommandContext &context, const QString &showStatement);
