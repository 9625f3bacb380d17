#pragma once

#include <QString>

#include <string_view>

// Whether the text may hold a password or another secret (IDENTIFIED BY, SET PASSWORD, keys, addresses with
// an account in them; misspelt, put together from pieces, or written into the server's own tables as well):
// such texts go into no log, history or message.
bool holdsPassword(const QString &statement);
// The text with every quoted part, hex digits and comment replaced when it holds a password. Of a text that
// cannot be read for sure as a statement with its secrets in quotes, nothing is left but its verb.
QString maskedPasswords(const QString &text);
// Of a statement that may be long, in UTF-8: its first letters, passwords masked, for messages and the log.
QString maskedBeginning(std::string_view statement);
// What a server says of a statement that holds a password: it quotes a piece of it, cut anywhere, inside of
// quotes of its own, so that all from the first quote to the last goes.
QString withoutQuotedPart(const QString &refusal);
