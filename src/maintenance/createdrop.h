#pragma once

#include "core/command/command.h"

// cmdDropDb. What the server refuses is thrown (Failure): the window shows its words and reloads nothing.
Outcome dropDatabase(CommandContext &context);
// cmdDropTable: the table or view shown in the detail. The server says which of the two it is, or the user
// where the server cannot.
Outcome dropTable(CommandContext &context);

struct CreateDatabaseContext {
    Session &session;
    const QString &name;  // as it was typed, without blanks at its ends
    Dialogue &dialogue;   // the dialog's own boxes
    Dialogue &mainWindow; // for the last error and the pointer
};
// cmdOk of frmCreateDB. False: the name stays for correction, and the last error has the server's words.
bool createDatabase(CreateDatabaseContext &context);
