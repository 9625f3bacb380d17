#pragma once

#include "core/session.h"

// Whether the server refused the connection only because the account's password has expired, and a new one
// can be set from here: not for a data source, whose server is not known.
bool isPasswordExpired(const Session &session, const SqlError &failure);

// Connects with the session's password for this one statement, over the built-in connection, and gives the
// account the new one, which becomes gPass. Throws SqlError, which never quotes the password.
void renewPassword(Session &session, const QString &newPassword);
