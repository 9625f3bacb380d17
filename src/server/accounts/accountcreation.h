#pragma once

#include "core/session/session.h"
#include "server/accounts/grants.h"

#include <optional>

// An account that is to be made.
struct NewAccount {
    AccountName name;
    bool isRole = false;
    QString plugin;   // empty: the server's own
    QString password; // empty: none
    QString tls;      // "SSL", "X509"; empty: not demanded
    enum class Expiry { Standard, Never, Now, Days } expiry = Expiry::Standard;
    int days = 0;
    int statementsPerHour = 0, changesPerHour = 0, connectionsPerHour = 0, connections = 0; // 0: no limit
};

// What of it the server's CREATE USER takes; before MySQL 5.7 and MariaDB 10.2 the rest is sent after it.
bool takesExpiryTimes(const ServerInfo &server); // PASSWORD EXPIRE NEVER, INTERVAL
bool takesPluginAndPassword(const ServerInfo &server);
// The statements that make it, in their order. escapes: a backslash in quotes is one of an escape. Throws
// Failure for an account that this server cannot make.
QStringList createAccountStatements(const ServerInfo &server, const NewAccount &account, bool escapes);
// Sends them; where a later one is refused the account is dropped again. Returns the server's words, without
// a password; empty: done. Throws Failure for a lost connection or a stop. Where there are several, the next
// connection to this server is told of a program that did not live to send the last.
QString makeAccount(Session &session, const AccountName &account, const QStringList &statements);
// Plugins that accounts can be identified with.
QStringList readLoginPlugins(Connection &connection);
