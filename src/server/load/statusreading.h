#pragma once

#include "core/session/session.h"

#include <QHash>

#include <optional>

// The status values of a server at one moment.
struct StatusSample {
    qint64 time = 0; // milliseconds since 1970, by this machine's clock
    QHash<QString, QString> values;
    std::optional<double> replicationDelay; // seconds; none: it is no replica, or may not be asked

    double number(const QString &name) const; // not a number where there is none
};

// Reads the samples of one connection. Throws Failure.
class StatusReader {
public:
    StatusSample read(Session &session);
    // Also how far a replica is behind, unless the server has refused to tell.
    StatusSample readWithDelay(Session &session);

private:
    bool m_mayAskForDelay = true;
};
