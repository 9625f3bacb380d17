#pragma once

#include "core/session/session.h"
#include "transfer/dump/dumpplan.h"
#include "transfer/dump/dumpsink.h"
#include "transfer/progress.h"

// Where a dump goes: one file (compressed when its name ends in ".gz"), or a folder with one file for each
// object and "load.sql", which runs them in order.
struct DumpTarget {
    QString path;
    bool isFolder = false;
};

// What a dump has to tell when it is done.
struct DumpReport {
    int objects = 0;
    qint64 rows = 0;
    QStringList outsideSnapshot; // tables whose engine has no snapshot: others may have written meanwhile
    QStringList withoutRows;     // whose rows are those of other tables or servers
    QStringList brokenViews;     // that a server will not take as long as what they name is not there
    QStringList notAllShown;     // kinds of objects that the account may lack the rights to see
};

// Dumps over the session's connection, which serves nothing else meanwhile, in one snapshot. Rows go to the
// file as they arrive. Throws Failure; a file that is not whole does not bear its name then.
DumpReport dump(Session &session, const DumpOptions &options, const DumpTarget &target,
                const ReportProgress &report);
// The same, in one piece, into whatever takes it.
DumpReport dump(Session &session, const DumpOptions &options, DumpSink &sink, const ReportProgress &report);
TransferReport reportOf(const DumpReport &done, const DumpTarget &target);
// Of what is not as one might expect, a line each.
QString notesOf(const DumpReport &report);
