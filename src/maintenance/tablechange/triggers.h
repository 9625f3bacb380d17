#pragma once

#include "core/command/undostep.h"

#include <vector>

// A trigger as "show triggers" lists it. Dropping a table takes its triggers along without a word.
struct Trigger {
    QString name, event, timing, body, definer, sqlMode, characterSet, collation;
};

std::vector<Trigger> readTriggers(Connection &connection, const QString &database, const QString &table);
// The database is the session's default one.
QString createTriggerStatement(const Trigger &trigger, const QString &database, const QString &table);
// Whether the trigger can be made again in the character set that it was made in: statements are sent in
// UTF-8, whatever the server is told of them.
bool keepsCharacterSet(const Trigger &trigger, const QString &table);
// The session variables that these are; UndoLog has to know them to put them back.
QStringList triggerVariables();

// Makes the trigger on the table; one that is refused is told and left.
Step makeTrigger(const Trigger &trigger, const QString &database, const QString &table);
WayBack makeTriggerAgain(const Trigger &trigger, const QString &database, const QString &table);
