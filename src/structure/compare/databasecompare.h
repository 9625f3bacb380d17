#pragma once

#include "core/sql/connection.h"
#include "transfer/dump/dumpplan.h"
#include "transfer/progress.h"

#include <optional>

// Two databases beside each other, and the statements that make the one like the other. Nothing is run.

struct CompareOptions {
    bool hasCharacterSets = true; // and collations
    bool hasTableOptions = true;  // ENGINE, COMMENT, ROW_FORMAT, ...
    bool hasDefiners = true;
};

// The collation of each character set where none is named; servers differ in it.
using DefaultCollations = QMap<QString, QString>;

// What one database holds, as its server words it.
struct DatabaseObjects {
    QString server; // for the user
    QString database;
    QString collation; // its default
    ServerInfo info;
    DefaultCollations collations;
    std::vector<DumpObject> objects;
    QStringList unreadable; // with the server's words
};

// Over a connection that serves nothing else meanwhile; `side` tells the user which of the two is read.
// Throws Failure, but not for single objects that the account may not read.
DatabaseObjects readDatabase(Connection &connection, const QString &database, const QString &side,
                             const ReportProgress &report);

struct ComparedObject {
    enum class Where { OnlyLeft, OnlyRight, Differs };

    Where where;
    DumpKind kind;
    QString keyword, name;
    std::optional<DumpObject> left, right;
    QStringList differences; // where both have it: a line each
};
// What is not the same on both sides, tables first. Counters (AUTO_INCREMENT) do not count.
std::vector<ComparedObject> compare(const DatabaseObjects &left, const DatabaseObjects &right,
                                    const CompareOptions &options);

// For an SQL sheet: what makes the target like the other side, as far as the objects go. What is dropped
// stands in a comment of its own at the beginning.
QString statementsFor(const std::vector<ComparedObject> &objects, const DatabaseObjects &source,
                      const DatabaseObjects &target, bool isTargetRight, const CompareOptions &options);
