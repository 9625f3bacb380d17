#pragma once

#include "core/sql/connection.h"

#include <QByteArray>

#include <functional>
#include <optional>
#include <vector>

// What became of a batch of statements.
struct BatchOutcome {
    std::size_t done = 0; // statements that were carried out, from the first
    qint64 rowsTouched = 0, warnings = 0;
    std::optional<Failure> failure; // of the one behind them
};

// A connection that takes several statements in one trip to its thread: for small ones the trip costs more
// than the statement, many times as much where other programs want the processor.
class BatchSender {
public:
    virtual ~BatchSender() = default;
    // Sends one after the other, as the bytes that they are, until one fails; rows are thrown away. A stop
    // ends the one that runs, and the next is not sent. Throws Failure where not even the first could be
    // sent.
    virtual BatchOutcome executeAll(const std::vector<QByteArray> &statements) = 0;
};

// The same by any connection: one that is no sender takes them one by one, each asked about by `mayGoOn`,
// which throws Failure where it must not.
BatchOutcome executeAll(
    Connection &connection, const std::vector<QByteArray> &statements,
    const std::function<void()> &mayGoOn = [] {});
