#pragma once

#include "core/driver/workerdriver.h"

// The question for what no two sessions have in common that a balancer may mix up: the server's name, folder
// and identity, the session's account and the port from which it came. `session` is "connection_id()" or a
// number. Fails on MySQL before 5.1.7, which has no such list of sessions.
QString sessionMarkQuestion(const ServerInfo &server, const QString &session);

// Sends KILL QUERY and waits for the statement's end; what does not end loses its session. A procedure is
// given less time for it: the statement within that the KILL strikes may succeed all the same, as SLEEP()
// does, or an error handler go on, and then the next one runs. Throws what the first `send` throws.
enum class StatementSort { Single, Procedure };
StatementSort sortOf(const QString &statement);
Interruption killAndWait(const QString &session, StatementSort sort, const Stop &stop,
                         const std::function<void(const QString &statement)> &send);
