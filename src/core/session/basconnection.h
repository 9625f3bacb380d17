#pragma once

#include "core/session/session.h"

#include <optional>

// The literal that stands for "no data source, connect by driver".
QString noDataSource();

// The shared values that lead to a saved connection.
void useProfile(Session &session, const ConnectionProfile &profile, const QString &password);

// What the saved connection demands, and at least what the settings demand of all.
TlsOptions effectiveTls(const Session &session);

// What fConnect() opens: by driver with every part of the session that is set, or the data source's name.
QString connectionStringOf(const Session &session);

// Closes gCn, if any, and opens a new one; what kept it from opening.
std::optional<Failure> tryConnecting(Session &session);
// Closes gCn, if any, and opens a new one. True when it is open afterwards. Shows nothing; `why`, when
// given, receives the driver's words of a failure.
bool fConnect(Session &session, QString *why = nullptr);
// Closes and releases gCn.
void sDisconnect(Session &session);

// Whether a completed connection string has the piece SERVER=localhost, exactly so.
bool namesLocalServer(const QString &connectionString);

// Whether the server refused the connection only because the account's password has expired, and a new one
// can be set from here: not for a data source, whose server is not known.
bool isPasswordExpired(const Session &session, const Failure &failure);

// Connects with the session's password for this one statement, over the built-in connection, and gives the
// account the new one, which becomes gPass. Throws Failure, which never quotes the password.
void renewPassword(Session &session, const QString &newPassword);
