#pragma once

#include "core/command/definition.h"

#include <QStringList>

#include <vector>

// What a dump is to hold.
struct DumpOptions {
    QString database;
    QStringList objects; // tables, views and sequences; empty: all
    bool hasStructure = true;
    bool hasRows = true;
    bool hasRoutines = true;
    bool hasTriggers = true;
    bool hasEvents = true;
    bool hasDefiners = true;
    bool hasHistory = false; // of tables with system versioning
    bool createsDatabase = false;
    bool drops = true;
    QStringList dropsOnly = {}; // names of nameOf(); empty: all
    QString condition;          // behind WHERE, for every table; empty: all rows
    int insertBytes = 1024 * 1024;
};

enum class DumpKind { Sequence, Table, Routine, View, Trigger, Event };

// One object of a dump, as it was when the dump began.
struct DumpObject {
    DumpKind kind;
    QString keyword; // behind SHOW CREATE: TABLE, PACKAGE BODY, ...
    QString name;
    ObjectDefinition definition;
    qint64 expectedRows = 0; // the server's guess
    QString engine = {};
    bool isVersioned = false;
    bool isBroken = false; // a view that cannot be read: something that it names is gone

    bool hasOwnRows() const;
};

// "TABLE a"
QString nameOf(const DumpObject &object);

// The chosen objects in an order in which they can be made again, broken views at the end. Throws Failure,
// naming the object whose definition cannot be read. The default database is the one of the options.
std::vector<DumpObject> readDumpPlan(Connection &connection, const DumpOptions &options);

// The same in its steps: what there is, without definitions, and the order.
std::vector<DumpObject> listDumpObjects(Connection &connection, const DumpOptions &options);
void sortDumpObjects(std::vector<DumpObject> &objects);

ObjectDefinition readObject(Connection &connection, const QString &database, const DumpObject &object);
// Whether both define the same; a table's counter may have gone on.
bool isSameDefinition(const ObjectDefinition &left, const ObjectDefinition &right);

// The views, each behind those that it reads from.
void sortViews(std::vector<DumpObject> &views);
