#pragma once

#include <QString>
#include <QStringList>

#include <span>
#include <vector>

// One box of a privilege table.
struct Privilege {
    QStringView caption;
    QStringView source;    // column of mysql.user or mysql.db; element of mysql.tables_priv.Table_priv
    QStringView grantText; // with its comma; empty: stands in no list
    QStringView toolTip;
};

// Whether each box of a table is checked, in the table's order.
using Checks = std::vector<bool>;

std::span<const Privilege> globalPrivileges();   // ckPrivType
std::span<const Privilege> databasePrivileges(); // ckDBPrivType
std::span<const Privilege> tablePrivileges();    // ckTablePrivType

// The global table's GRANT box: stands in no list but asks for WITH GRANT OPTION.
inline constexpr std::size_t globalGrantBox = 10;

// The checked boxes' texts up to the last comma, then CR LF; "USAGE" when there are none.
QString privilegeList(std::span<const Privilege> privileges, const Checks &checks);
// The same without the fallback: throws Failure (the invalid-argument error) when there are none.
QString requiredPrivilegeList(std::span<const Privilege> privileges, const Checks &checks);

// Whether the set value holds the element as a whole, without regard to case.
bool setHolds(const QString &setValue, QStringView element);

// The rights by their names, as statements and the server's catalogue spell them; "GRANT OPTION" is one.
QStringList shownRights(std::span<const Privilege> privileges);
QStringList checkedRights(std::span<const Privilege> privileges, const Checks &checks);
