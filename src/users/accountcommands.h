#pragma once

#include "core/dialogue.h"
#include "core/session.h"
#include "users/accountform.h"

Refresh addAccount(Session &session, Dialogue &dialogue, const AccountForm &form);    // cmdOk
Refresh changeAccount(Session &session, Dialogue &dialogue, const AccountForm &form); // cmdGrantEdit
Refresh deleteAccount(Session &session, Dialogue &dialogue, const AccountForm &form); // cmdDelete
