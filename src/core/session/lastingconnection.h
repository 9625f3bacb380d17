#pragma once

#include "core/session/session.h"

// The factory's connections, which bear with a server that drops them:
// - A statement that only reads is sent once more over a new connection, where nothing of the old one is
//   missed and the same server answers, or one of its cluster.
// - Everything else fails as it always did: the words say what was lost with the connection, which is closed
//   from then on.
// - Where the connection string has the piece READONLY=1, every one of them begins with a session that the
//   server keeps from writing.
Session::PumpedFactory lasting(Session::PumpedFactory factory);
