#pragma once

#include "core/command/undostep.h"

#include <vector>

// A trigger as "show triggers" lists it. Dropping a table takes its triggers along without a word.
struct Trigger {
    QString name, event, timing, body, definer, sqlMode, characterSet, collation;
};

std::vector<Trigger> readTriggers(Connection &connection, const QString &database, const QString &table);
QString createTriggerStatement(const Trigger &trigger, const QString &database,
                               const QString &qualifiedTable);
// The session as it was when the trigger was made. The character set stays the session's own where the text
// would be read wrongly in the other.
std::vector<SessionVariable> sessionOf(const Trigger &trigger, const QString &statement);
// The session variables that these are; UndoLog has to know them to put them back.
QStringList triggerVariables();

// Makes the trigger on the table; one that is refused is told and left.
Step makeTrigger(const Trigger &trigger, const QString &database, const QString &qualifiedTable);
WayBack makeTriggerAgain(const Trigger &trigger, const QString &database, const QString &qualifiedTable);
