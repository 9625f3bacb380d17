#pragma once

#include "core/session/session.h"
#include "transfer/dump/dumpplan.h"
#include "transfer/progress.h"

#include <optional>

// What is copied from the source's database into the target's.
struct CopyOptions {
    DumpOptions what;
    QString database;                // of the target; made when there is none
    bool replacesCollations = false; // that the target does not know, by their nearest ones
};

// What the target says before anything is changed there.
struct TargetLook {
    ServerRole role;
    bool hasDatabase = false;
    qsizetype tables = 0;          // and sequences that are to be copied
    QStringList existing;          // "TABLE a", ...: what the copy would drop
    QStringList unknownCollations; // of what is to be copied
    QStringList changes;           // in words: what its tables will not be there as they are
    QStringList brokenViews;       // of what is to be copied
};

// Throws Failure where nothing can be copied: above all when both are the same database of one server,
// however the connections lead there, or the target does not take a table's definition.
TargetLook lookAtTarget(Session &from, Session &to, const CopyOptions &options);

// Copies in one snapshot of the source, over both sessions' connections, which serve nothing else meanwhile.
// Drops nothing but what `agreed` has found. Gives what is to be told; throws Failure, which says what the
// target has then.
TransferReport copyObjects(Session &from, Session &to, const CopyOptions &options, const TargetLook &agreed,
                           const ReportProgress &report);
