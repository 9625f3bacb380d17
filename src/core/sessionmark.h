#pragma once

#include "core/connection.h"

// The question for what no two sessions have in common that a balancer may mix up: the server's name, folder
// and identity, the session's account and the port from which it came. `session` is "connection_id()" or a
// number. Fails on MySQL before 5.1.7, which has no such list of sessions.
QString sessionMarkQuestion(const ServerInfo &server, const QString &session);
