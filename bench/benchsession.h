#pragma once

#include "core/driver/pump.h"
#include "core/session/session.h"

#include <QTemporaryDir>

// A session over "native" or "odbc" to the server on this machine, connected, with settings of its own. Ends
// the program where it cannot connect.
struct BenchSession {
    BenchSession(const QString &driver, const QString &port, const QString &database = {});

    QTemporaryDir folder;
    BlockingPump pump;
    Session session;
};
