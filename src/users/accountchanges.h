#pragma once

#include "core/session.h"
#include "users/accountstatements.h"

// Sends one statement, then FLUSH PRIVILEGES.
void sendAndFlush(Session &session, const QString &statement);

// A global GRANT, and the password that goes with it when one was typed.
struct GlobalGrant {
    Account account;
    QString list;     // as privilegeList() builds it
    QString suffix;   // " WITH GRANT OPTION" or empty
    QString password; // empty: none is sent
};

// What gives the account its password where GRANT cannot.
enum class PasswordStatement { CreateUser, AlterUser };

// Sends the GRANT, then FLUSH PRIVILEGES. A server that refuses the password clause as a syntax error (1064;
// MySQL 8 and later) gets the password by a statement of its own and the GRANT without the clause.
// What is thrown never quotes the password.
void sendGlobalGrant(Session &session, const GlobalGrant &grant, PasswordStatement fallback);
