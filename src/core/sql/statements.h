#pragma once

#include <QString>

// The pieces of SQL text that several commands share.

// "`" database "`." name: nothing is escaped and the name stands bare, that is the system's rule.
QString qualifiedName(const QString &database, const QString &name);
QString showCreateTable(const QString &qualifiedTable);

// For statements that the program composes for itself, where any name must do.
QString quotedName(QString name);
QString quotedName(const QString &database, const QString &name);
QString quotedText(QString text); // holds where backslash escapes are on
QString useStatement(const QString &database);

QString trimmedBlanks(const QString &text); // without blanks (U+0020 only) at both ends
QString withCrLf(QString text);             // every LF becomes CR LF
QString withLf(QString text);               // every CR LF becomes LF
QString withoutBackticks(QString text);
// What stands before the last comma; throws Failure when there is none (the invalid-argument error).
QString cutAtLastComma(const QString &list);

// A view's CREATE text, laid out over several lines, first occurrences only; backticks stay.
QString viewLayout(const QString &createView);

// The text for showing of a "show create table" row: kind is the trimmed name of its first column.
QString shownCreateText(const QString &kind, const QString &createText);

// T with its table name qualified: after the first "table" plus five characters (the character there is
// written twice), the first occurrence of name, without regard to case, becomes `database`.name.
QString qualifiedCreateText(const QString &createText, const QString &database, const QString &name);
