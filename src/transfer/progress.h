#pragma once

#include <QString>

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
