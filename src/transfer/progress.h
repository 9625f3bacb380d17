#pragma once

#include "core/sql/failure.h"

#include <functional>

// Where a transfer stands: the object it is at, and rows of all that are expected, as far as that is known.
struct TransferStatus {
    QString object;
    int finished = 0; // objects
    int objects = 0;
    qint64 rows = 0;
    qint64 expectedRows = 0;             // 0: not known
    qint64 bytes = 0, expectedBytes = 0; // of a file that is read
};

// Told often, from the thread that works; throws the Failure of an interruption once a stop is wanted.
using ReportProgress = std::function<void(const TransferStatus &status)>;

// What a transfer tells at its end.
struct TransferReport {
    TransferReport(const QString &words = {}, bool leavesSomething = false)
        : text(words)
        , isToBeRead(leavesSomething)
    {
    }

    QString text;
    // Something was left out or changed, or stays half done: a window that was to close shows it first.
    bool isToBeRead;
    bool hasFailed = false;
};

// Ends a transfer that leaves, or may leave, something on a server, which its words tell.
class HalfDone : public Failure {
    using Failure::Failure;
};
