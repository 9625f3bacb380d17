#pragma once

#include "maintenance/recovery.h"

#include <vector>

// A trigger as "show triggers" lists it. Dropping a table takes its triggers along without a word.
struct Trigger {
    QString name, event, timing, body, definer, sqlMode;
};

std::vector<Trigger> readTriggers(Connection &connection, const QString &database, const QString &table);
// Those of the triggers that are not on the table.
std::vector<Trigger> missingTriggers(Connection &connection, const QString &database, const QString &table,
                                     std::vector<Trigger> triggers);
QString createTriggerStatement(const Trigger &trigger, const QString &database,
                               const QString &qualifiedTable);

// Makes the triggers on the table, in their order, and reports those that could not be made. Never throws. An
// answer that is lost costs a reconnection, after which those that are there already are left alone.
RecoveryReport remakeTriggers(Session &session, const std::vector<Trigger> &triggers, const QString &table,
                              const QString &qualifiedTable);
