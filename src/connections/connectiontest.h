#pragma once

#include "core/session/connectionprofile.h"

struct Session;

// Opens the connection once, for nothing else, and tells in words what it found: server, version, encryption,
// time. Throws Failure where it cannot be opened.
QString tryConnection(Session &session, const ConnectionProfile &profile, const QString &password);
