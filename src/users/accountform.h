#pragma once

#include "core/command/command.h"
#include "users/accountstatements.h"
#include "users/privileges.h"

#include <QStringList>

// What lstAddDB and cboAddDB show for none.
inline QString noDatabase()
{
    return QStringLiteral("*");
}

// What frmUserAdd holds at the click, by value.
struct AccountForm {
    QString user, host, password; // txtUser, txtHost, txtPassword as they stand
    QString passwordTag;          // tag of txtPassword: the placeholder that is never sent
    Account account;              // lblHostName, lblUserName
    QStringList accounts;         // items of lstUser, "host\tuser"

    Checks global, globalBefore; // ckPrivType and its tags
    Checks database;             // ckDBPrivType
    Checks table;                // ckTablePrivType

    QStringList databases, tables;          // items of lstDB and lstTable
    QString shownDatabase;                  // lblDbName
    QString addDatabase;                    // lstAddDB, or noDatabase()
    QString shownTableDatabase, shownTable; // lblTableNameDB, lblTableName
    QString addTableDatabase, addTable;     // cboAddDB (or noDatabase()), lstAddTable
};

struct AccountContext {
    Session &session;
    const AccountForm &form;
    Dialogue &dialogue;
};

// What the window reads again after a command.
enum class Refresh {
    Nothing,
    Lists,  // sInit: back to the new account
    Account // lstUser_Click: the same account
};

struct AccountOutcome {
    Refresh refresh = Refresh::Nothing;
    QString database = {}; // to be chosen in lstDB
    QString table = {};    // to be chosen in lstTable: "database\ttable"
};

using AccountCommand = FormCommand<AccountContext, AccountOutcome>;
