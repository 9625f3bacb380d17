#pragma once

#include "core/dialogue.h"
#include "core/session.h"
#include "users/accountform.h"

Refresh addDatabaseGrant(Session &session, Dialogue &dialogue, const AccountForm &form);    // cmdDbGrantAdd
Refresh changeDatabaseGrant(Session &session, Dialogue &dialogue, const AccountForm &form); // cmdDbGrantEdit
Refresh deleteDatabaseGrant(Session &session, Dialogue &dialogue, const AccountForm &form); // cmdDbGrantDel
