#pragma once

#include "users/accountform.h"

#include <span>

AccountOutcome addAccount(AccountContext &context);    // cmdOk
AccountOutcome changeAccount(AccountContext &context); // cmdGrantEdit
AccountOutcome deleteAccount(AccountContext &context); // cmdDelete

AccountOutcome addDatabaseGrant(AccountContext &context);    // cmdDbGrantAdd
AccountOutcome changeDatabaseGrant(AccountContext &context); // cmdDbGrantEdit
AccountOutcome deleteDatabaseGrant(AccountContext &context); // cmdDbGrantDel

AccountOutcome addTableGrant(AccountContext &context);    // cmdTableGrantAdd
AccountOutcome changeTableGrant(AccountContext &context); // cmdTableGrantEdit
AccountOutcome deleteTableGrant(AccountContext &context); // cmdTableGrantDel

std::span<const AccountCommand> accountCommands();
