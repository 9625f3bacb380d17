#pragma once

#include "core/session/session.h"
#include "maintenance/backup/definitionfile.h"

// Puts one table or view back from its backup files. The old one is renamed aside and dropped only when the
// new one is complete with its rows, triggers and foreign keys.
// Throws Failure: the server's words, and then what became of the old table. Everything is as before, unless
// the way back failed too; the text then says where the rows are and which statements bring the rest back.
void restoreTable(Session &session, const QString &database, const Definition &definition);
