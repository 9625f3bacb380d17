#pragma once

#include "core/sql/connection.h"
#include "transfer/dump/dumpplan.h"

// The texts of a dump but for its rows. Every server's own client reads them.

// The comments by which a dump is known, and the settings under which the rest is read. createDatabase is the
// server's own text, or empty.
QString dumpHead(const ServerInfo &server, const DumpOptions &options, const QString &started,
                 const QString &createDatabase);
// Puts the settings back; its last line says that the file is whole.
QString dumpTail(const QString &finished);
// The beginning of the last line.
QString dumpTailMark();

// Makes the object.
QString objectScript(const DumpObject &object, const DumpOptions &options);
// What stands before and behind the rows of a table with its history.
QString historyOn();
QString historyOff();

// "name" as a file's name: what file systems take otherwise is written in hex.
QString fileNameOf(const QString &name);
