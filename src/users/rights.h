#pragma once

#include "core/command/undostep.h"
#include "core/session/session.h"
#include "users/accountstatements.h"

#include <QStringList>

// What rights are on. A name may be empty where nothing was chosen: that is not everything.
struct Scope {
    enum class Level { Global, Database, Table };
    Level level = Level::Global;
    QString database = {}, table = {};

    static Scope ofDatabase(const QString &database) { return {Level::Database, database, {}}; }
    static Scope ofTable(const QString &database, const QString &table)
    {
        return {Level::Table, database, table};
    }

    QString text() const; // "*.*", "`d`.*", "`d`.`t`"
    friend bool operator==(const Scope &, const Scope &) = default;
};

// The rights that an account holds at one scope, by the names that statements take: "EVENT", "SELECT (`a`)",
// "BACKUP_ADMIN"; those on a table's columns are rights at the table. "USAGE" stands for a bare GRANT OPTION.
struct Rights {
    QStringList names;
    QStringList grantable; // those of them that it may hand on
    bool isTold = false;   // the server said something, if only that there is USAGE
};

// Which of them are missing in other, by name or WITH GRANT OPTION.
Rights missingIn(const Rights &rights, const Rights &other);
inline bool isEmpty(const Rights &rights)
{
    return rights.names.isEmpty() && rights.grantable.isEmpty();
}

// Whether a line of SHOW GRANTS is on that scope.
bool isOn(const QString &grant, const Scope &scope);

// What the server says of an account.
struct AccountState {
    Rights rights;           // at the scope that it was read for
    QStringList otherGrants; // lines of SHOW GRANTS on everything else; each is a statement
    QString createUser;      // SHOW CREATE USER, which holds a hash; empty on servers that do not know it
};

// What of SHOW CREATE USER a new password leaves as it was.
QString withoutPassword(QString createUser);

// Reading statements only. A server before 5.0.2 does not tell rights by name: none are seen there.
Rights readRights(Session &session, const Account &account, const Scope &scope);
// Lines of SHOW GRANTS, without the hash that some servers show there: sent again it would take back a
// password that somebody has changed meanwhile.
QStringList readAllGrants(Session &session, const Account &account);
QStringList readGrants(Session &session, const Account &account, const Scope &except);
AccountState readState(Session &session, const Account &account, const Scope &scope);
// Whether the account holds one right, or "GRANT OPTION", at that very scope.
Question holdsRight(const Account &account, const Scope &scope, const QString &right);
// The rights at all scopes of the account that is connected; none where the server does not tell.
Rights readOwnRights(Session &session);

// Those of the lines that are MySQL's partial revokes.
QStringList exceptionsIn(const QStringList &grants);

// The rights that are to be revoked of what is held, "GRANT OPTION" among them.
QStringList surplusIn(const Rights &held, const Rights &wanted);
// Empty when there is nothing to grant, or to revoke.
QStringList grantStatements(const Account &account, const Scope &scope, const Rights &rights);
QStringList revokeStatements(const Account &account, const Scope &scope, QStringList names);

// Rights by their names, "GRANT OPTION" among them; sends nothing when there are none.
void takeRights(Session &session, const Account &account, const Scope &scope, QStringList names);
// Reads what the account holds and grants what is missing of it.
void grantMissing(Session &session, const Account &account, const Scope &scope, const Rights &wanted);
// The same, and revokes what is too much.
void mendRights(Session &session, const Account &account, const Scope &scope, const Rights &wanted);
