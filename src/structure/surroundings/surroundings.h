#pragma once

#include "core/session/session.h"

#include <QStringList>

#include <vector>

// What hangs together with a table: one line, and what it leads to.
struct RelatedThing {
    enum class Kind { Fact, Table, View, Procedure, Function, Trigger, Event };

    Kind kind = Kind::Fact;
    QString name, details;
    QString database = {}; // of what it leads to
    QString object = {};   // its name; of a trigger, too
};

struct RelatedGroup {
    QString title;
    std::vector<RelatedThing> things;
    QString refusal = {};  // in the server's words: it could not be read
    bool isCounted = true; // else facts of one thing, whose number says nothing
};
using Surroundings = std::vector<RelatedGroup>;

// table: empty for the database itself. What the account may not see is told in its group; throws Failure
// only when the connection is lost or stopped.
Surroundings readSurroundings(Session &session, const QString &database, const QString &table);

// Whether a definition that stands in `ownDatabase` names the table: as a name of its own, not in texts or
// comments, and not as another database's.
bool namesTable(const QString &definition, const QString &ownDatabase, const QString &database,
                const QString &table);

// Views, routines, triggers and events that name the table, foreign keys that refer to it, wherever they are,
// and rights on it: what a new name of the table leaves behind. A trigger of the table itself goes along.
// Throws Failure.
std::vector<RelatedThing> readReferring(Session &session, const QString &database, const QString &table);
