#pragma once

#include "core/session/session.h"
#include "users/accountstatements.h"
#include "users/privileges.h"

#include <QStringList>

#include <optional>

// What the window of the accounts shows, asked of the server. All throw Failure.

// Which boxes are checked; no value where the server has no such privilege, whose box stays as it is.
using ShownChecks = std::vector<std::optional<bool>>;

QStringList readAccounts(Session &session); // "host\tuser"
QStringList readDatabaseNames(Session &session);
QStringList readTableNames(Session &session, const QString &database);

struct GlobalRights {
    ShownChecks checks;
    bool isRole = false;
};
GlobalRights readGlobalRights(Session &session, const Account &account);
QStringList readDatabasesGranted(Session &session, const Account &account);
QStringList readTablesGranted(Session &session, const Account &account); // "database\ttable"
ShownChecks readDatabaseRights(Session &session, const Account &account, const QString &database);
// Empty when there are none.
ShownChecks readTableRights(Session &session, const Account &account, const QString &database,
                            const QString &table);
