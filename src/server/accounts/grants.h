#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// An account or a role. A role of MariaDB has no host; an account of MySQL may have an empty one, and is
// another than that of the host "%", which a name alone would mean.
struct AccountName {
    QString user;
    std::optional<QString> host = {};

    QString quoted() const; // as statements take it: "`u`@`%`", "`u`@``", "`r`"
    QString shown() const;  // "u@%", "r"
    bool operator==(const AccountName &) const = default;
};

// One right or role of an account.
struct Grant {
    QString privilege;          // "SELECT (`a`)", "BACKUP_ADMIN"; a role as statements take it
    QString scope;              // "*.*", "`d`.*", "PROCEDURE `d`.`p`"; empty for a role
    bool isGrantable = false;   // the account may hand it on
    bool isRestriction = false; // MySQL's partial revokes: what is not allowed here

    bool isRole() const { return scope.isEmpty(); }
    bool operator==(const Grant &) const = default;
};
// What a line of SHOW GRANTS gives; nothing for a line of another kind ("SET DEFAULT ROLE").
std::vector<Grant> grantsOf(const QString &line);

// The statements for one right or role.
QString grantStatement(const Grant &grant, const AccountName &account);
QString revokeStatement(const Grant &grant, const AccountName &account);
// The right on some columns alone: "SELECT (`a`, `b,c`)" of "a, `b,c`". Without columns the right itself.
QString onColumns(const QString &privilege, const QString &columns);
// The roles, as statements take them, that the account has when it connects. MariaDB and MySQL word it
// differently, and MariaDB takes one at most.
QString defaultRoleStatement(const QStringList &roles, const AccountName &account, bool isMariaDb);
