#pragma once

#include "core/command/command.h"

// What frmInOut holds at the click, by value.
struct InOutForm {
    QString tableName;       // lblTableName
    QString fileName;        // txtFilename
    bool replacesDuplicates; // optRorI(0)
};

struct InOutContext {
    Session &session;
    const InOutForm &form;
    Dialogue &dialogue;   // the dialog's own boxes
    Dialogue &mainWindow; // for the last error
    QString failure;      // the server's words, for the dialog that stands in front of it
};

struct InOutOutcome {
    bool isDone = false; // carried out, and told
};

// The database is the session's gDbName. The server opens the file: its path is one of the server's machine.
// columns: as core/sql/columnlist.h gives them.
QString exportStatement(const QString &database, const QString &table, const QString &path,
                        const QString &columns = QStringLiteral("*"));
QString importStatement(const QString &database, const QString &table, const QString &path,
                        bool replacesDuplicates, const QString &columns = {});

// A statement that fails is not told in the dialog; the server's words go to the main window's last error.
InOutOutcome exportTable(InOutContext &context); // cmdOut
InOutOutcome importTable(InOutContext &context); // cmdIn

using InOutCommand = FormCommand<InOutContext, InOutOutcome>;
std::span<const InOutCommand> inOutCommands();
