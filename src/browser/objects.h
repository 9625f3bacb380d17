#pragma once

#include "core/session/session.h"
#include "core/sql/listitem.h"

#include <functional>

// What the main window's lists and panes show, asked of the server. All throw Failure; a lost or stopped
// connection never passes for an answer.

RecordSet readDatabases(Session &session);

using TakeItem = std::function<void(const ListItem &item)>;
// Every table and view with its kind, as they come: one statement asks for each.
void readTables(Session &session, const QString &database, const TakeItem &take);
// Servers without routines, or without the right to see them, give none.
void readRoutines(Session &session, const QString &database, const TakeItem &take);

// The kind tag of an object by what "show create table" answers: empty when it answers nothing.
QString objectTag(Connection &connection, const QString &database, const QString &name);

// The status of all tables of the database. The pane of a database and that of a table end the statement
// differently on purpose.
RecordSet readStatus(Session &session, const QString &database, const char *end);
RecordSet readColumns(Session &session, const QString &database, const QString &table);
RecordSet readIndexes(Session &session, const QString &database, const QString &table);
QString showTableStatement(const QString &database, const QString &table);
