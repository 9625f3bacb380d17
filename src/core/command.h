#pragma once

#include "core/dialogue.h"
#include "core/listitem.h"
#include "core/session.h"

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

// One row of a feature's command table: the button's object name and what its click does.
struct Command {
    const char *control;
    Outcome (*run)(CommandContext &context);
};
