#pragma once

#include "core/session.h"

#include <optional>

// The literal that stands for "no data source, connect by driver".
QString noDataSource();

// What fConnect() opens: by driver with every part of the session that is set, or the data source's name.
QString connectionStringOf(const Session &session);

// Closes gCn, if any, and opens a new one; what kept it from opening.
std::optional<SqlError> tryConnecting(Session &session);
// Closes gCn, if any, and opens a new one. True when it is open afterwards. Shows nothing; `why`, when
// given, receives the driver's words of a failure.
bool fConnect(Session &session, QString *why = nullptr);
// Closes and releases gCn.
void sDisconnect(Session &session);

// Whether a completed connection string has the piece SERVER=localhost, exactly so.
bool namesLocalServer(const QString &connectionString);
