#pragma once

#include "core/session/session.h"
#include "server/accounts/grants.h"

// An account as the server's own tables tell it; empty what this server does not know.
struct ServerAccount {
    AccountName name;
    bool isRole = false;
    QString plugin, tls, expiry, limits;
    std::vector<AccountName> defaultRoles = {};
    bool isLocked = false;
};

struct AccountList {
    std::vector<ServerAccount> accounts;
    QString missing; // what may not be read, for the user; empty: nothing
    AccountName own; // that of the connection
};
// Of an account that may not read them all, at least its own. Throws Failure, as all here.
AccountList readAccountList(Connection &connection);

// The lines of SHOW GRANTS, without what identifies the account.
QStringList readGrantLines(Connection &connection, const AccountName &account);

// What can be granted here, and where: "SELECT" and "Tables".
struct KnownPrivilege {
    QString name, context;
};
std::vector<KnownPrivilege> readPrivileges(Connection &connection);

// Sends statements that change the account's rights; what SHOW GRANTS, and of default roles the account
// itself, says differently afterwards.
struct RightsChanged {
    QStringList gone, come; // lines
    QString refusal;        // empty: the server took it
};
RightsChanged changeRights(Connection &connection, const AccountName &account, const QStringList &statements);
