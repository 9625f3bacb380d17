#pragma once

#include "core/session.h"

#include <QStringList>

#include <vector>

// A trigger as "show triggers" lists it. Dropping a table takes its triggers along without a word.
struct Trigger {
    QString name, event, timing, body, definer, sqlMode;
};

std::vector<Trigger> readTriggers(Connection &connection, const QString &database, const QString &table);
QString createTriggerStatement(const Trigger &trigger, const QString &database,
                               const QString &qualifiedTable);

// Triggers that could not be made again.
struct LostTriggers {
    QStringList names;
    QStringList statements; // each with the server's words before it
};
// Makes the triggers on the table, in their order. Never throws. An answer that is lost costs a
// reconnection, after which those that are there already are left alone.
LostTriggers remakeTriggers(Session &session, const std::vector<Trigger> &triggers, const QString &table,
                            const QString &qualifiedTable);
