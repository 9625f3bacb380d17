#pragma once

#include "core/session/session.h"
#include "users/accountstatements.h"

// Sends one statement, then FLUSH PRIVILEGES.
void sendAndFlush(Session &session, const QString &statement);

// Whether rights have to be revoked by their names: from MySQL 8 on REVOKE ALL takes the rights of other
// levels, too, and REVOKE GRANT OPTION fails where there is none. GRANT takes no password there any more.
bool revokesByName(const Session &session);

// Throws Failure where MySQL would take a new password and throw it away, with what stood in its place: the
// name in the system of an account of auth_socket. createUser: of SHOW CREATE USER, or empty.
void requirePasswordLogin(const QString &createUser);

// A global GRANT, and the password that goes with it when one was typed.
struct GlobalGrant {
    Account account;
    QString list;     // as privilegeList() builds it
    QString suffix;   // " WITH GRANT OPTION" or empty
    QString password; // empty: none is sent
    bool isNew;       // the account is made
};

// Sends the GRANT, then FLUSH PRIVILEGES. Where GRANT takes no password, CREATE USER or ALTER USER gives it;
// an account that was made so is dropped when the GRANT fails. What is thrown never quotes the password.
void sendGlobalGrant(Session &session, const GlobalGrant &grant);
