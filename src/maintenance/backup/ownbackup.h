#pragma once

#include "core/command/command.h"

// BACKUP TABLE and RESTORE TABLE exist in no server since MySQL 5.5.
bool knowsBackupStatements(const ServerInfo &server);

// The definition (NAME.frm, written by the program) and the rows (NAME.dat, written by the server) of each
// table; of a view the definition alone. Overwrites nothing. Throws Failure at the first failure, after the
// files of that table have been removed.
void backUpByProgram(CommandContext &context, const QString &database, const QStringList &names,
                     const QString &folder);
