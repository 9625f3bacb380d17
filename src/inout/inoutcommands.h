#pragma once

#include "core/command/dialogue.h"
#include "core/session/session.h"

// What frmInOut holds at the click, by value.
struct InOutForm {
    QString tableName;       // lblTableName
    QString fileName;        // txtFilename
    bool replacesDuplicates; // optRorI(0)
};

// Where a command tells: the dialog's own boxes, and the main window's last error.
struct InOutReporters {
    Dialogue &dialog;
    Dialogue &mainWindow;
};

// The database is the session's gDbName. The server opens the file: its path is one of the server's machine.
// columns: as core/columnlist.h gives them.
QString exportStatement(const QString &database, const QString &table, const QString &path,
                        const QString &columns = QStringLiteral("*"));
QString importStatement(const QString &database, const QString &table, const QString &path,
                        bool replacesDuplicates, const QString &columns = {});

// True when the statement was carried out and success was told. A statement that fails is not told in the
// dialog; the server's words go to the main window's last error.
bool exportTable(Session &session, const InOutReporters &reporters, const InOutForm &form); // cmdOut
bool importTable(Session &session, const InOutReporters &reporters, const InOutForm &form); // cmdIn
