#pragma once

#include "core/command/command.h"
#include "core/sql/lexer.h"

#include <optional>

// A definition is shown for editing without its backticks, and a view laid out anew. That is another text
// than the server's: a name that needs its quotes, a literal with a comma or a backtick in it are lost.

// Whether a table's definition in the server's words is still the one that was shown, with or without its
// backticks; a counter that has gone on is no other definition.
bool isAsShown(const QString &serverText, const QString &shownText);

// The text with the server's counter (AUTO_INCREMENT=n), where it has the one that was shown.
QString withCounterOf(const QString &serverText, QString text, const QString &shownText);

// What of the server's text the shown one does not mean, as the server writes it; each once. Text that stands
// before names or differs in comments and blanks only is not meant. What the user has put back into the
// edited text is not lost any more. Asks the server which bare names are words of its own; throws Failure.
QStringList lostInShownText(Connection &connection, const QString &serverText, const QString &shownText,
                            const QString &editedText, SqlMode mode);

// Asks, where something would be lost, whether the change is to go on. No value: it is. Else the command ends
// with what it gives: nothing, or `ownText`, which has the server's own text shown for editing.
std::optional<Outcome> askAboutLosses(CommandContext &context, const QStringList &lost, Reload ownText);
