#pragma once

#include "core/command/command.h"

// A trigger or an event: what stands beside a table and has a text of its own.
struct BoundObject {
    bool isTrigger = true;
    QString database;
    QString name; // empty: to be made
};

// The server's own text, which is what is edited. Throws Failure, also where the account may not read it.
QString readBoundObject(Session &session, const BoundObject &object);
// What a new one begins with. table: of a trigger.
QString newBoundText(bool isTrigger, const QString &table);

// Each tells its end and gives false where nothing was changed.
// Makes one from a whole CREATE statement.
bool createBoundObject(Session &session, Dialogue &dialogue, const BoundObject &object, const QString &text);
// Drops it and makes it again from the edited text, or as it was: what stands before TRIGGER or EVENT is kept
// as the server has it. shownText: as it was read; somebody else may have changed it meanwhile.
bool changeBoundObject(Session &session, Dialogue &dialogue, const BoundObject &object,
                       const QString &shownText, const QString &text);
bool dropBoundObject(Session &session, Dialogue &dialogue, const BoundObject &object);
