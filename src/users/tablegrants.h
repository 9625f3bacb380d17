#pragma once

#include "core/dialogue.h"
#include "core/session.h"
#include "users/accountform.h"

Refresh addTableGrant(Session &session, Dialogue &dialogue, const AccountForm &form);    // cmdTableGrantAdd
Refresh changeTableGrant(Session &session, Dialogue &dialogue, const AccountForm &form); // cmdTableGrantEdit
Refresh deleteTableGrant(Session &session, Dialogue &dialogue, const AccountForm &form); // cmdTableGrantDel
