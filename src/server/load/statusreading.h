#pragma once

#include "core/session/session.h"

#include <QHash>

#include <optional>

// The status values of a server at one moment.
struct StatusSample {
    qint64 time = 0; // milliseconds since 1970, by this machine's clock
    QHash<QString, QString> values;
    // Seconds, of the source that is farthest ahead; none: it is no replica, may not be asked, or one of its
    // sources is not followed, and is named then.
    std::optional<double> replicationDelay;
    QString stoppedReplication;

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
