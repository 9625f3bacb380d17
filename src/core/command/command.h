#pragma once

#include "core/command/dialogue.h"
#include "core/session/session.h"
#include "core/sql/listitem.h"

#include <QStringList>

#include <span>

// What the main window holds at the click, by value: lists may change while a command runs.
struct Selection {
    QString database;     // text of the chosen lstDb item
    QStringList tables;   // all items of lstTables
    QString table;        // the chosen item of lstTables; empty: none
    QStringList routines; // all items of lstProcFunc
    QString routine;      // the chosen item of lstProcFunc; empty: none
    QString lblPreTable;  // "": nothing chosen, "0": a database, "1": a table
    QString lblTableName, lblCreateTable, lblCreateProc;
    QString txtField, txtProc; // with CR LF line ends
};

struct CommandContext {
    Session &session;
    const Selection &selection;
    Dialogue &dialogue;
};

// Which of the main window's lists a command leaves out of date.
enum class Reload {
    Nothing,
    Databases, // as by cmdShowDb
    Objects,   // as by a click in lstDb
    // Of no list, but of the text that is edited: it is to be the server's own.
    OwnTableText,
    OwnRoutineText
};

struct Outcome {
    Reload reload = Reload::Nothing;
};

// The menus of the main window's menu bar, in their order.
enum class Menu { Connection, Database, Table, Sql, Server, View, Help };

// What must be given before a command makes sense; several are joined by |.
enum class Needs : unsigned {
    Nothing = 0,
    NoConnection = 1 << 0,
    Connection = 1 << 1,
    Databases = 1 << 2,   // listed
    Table = 1 << 3,       // or view, shown in the detail pane
    Routine = 1 << 4,     // shown in its pane
    LocalServer = 1 << 5, // its files are this machine's
    MayWrite = 1 << 6,    // the connection is not kept from it
};
constexpr Needs operator|(Needs left, Needs right)
{
    return static_cast<Needs>(static_cast<unsigned>(left) | static_cast<unsigned>(right));
}
constexpr bool includes(Needs needs, Needs one)
{
    return (static_cast<unsigned>(needs) & static_cast<unsigned>(one)) != 0;
}

// The first of the needs that is not given, in words for the user; empty when all are.
QString missing(Needs needs, Needs given);

// What a command is to the user, wherever it is offered: menu bar, context menus, palette.
struct CommandRow {
    const char *id;    // the object name of its button, where it has one
    QStringView title; // the caption of its button, where it has one
    const char *key;   // as QKeySequence reads it; empty: none
    Menu menu;
    Needs needs;
};

// One row of a room's table of commands.
struct Command : CommandRow {
    Outcome (*run)(CommandContext &context);
    bool writes = true; // changes something on the server: see mayWrite()
};

// The same for the buttons of a dialog with entries of its own. The context holds session, dialogue and, by
// value, what the dialog held at the click; the result says what it shows afterwards.
template <class Context, class Result>
struct FormCommand {
    const char *id; // the object name of its button
    Result (*run)(Context &context);
    bool writes = true;
};
