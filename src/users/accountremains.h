#pragma once

#include "core/session.h"
#include "users/accountstatements.h"

// Deletes what is left of a deleted account in the other grant tables (columns, routines, proxies, roles).
// A row left there would keep the name from being used again (1396) or give its rights to the next owner of
// the name. Sends only reading statements where nothing is left.
void removeRemains(Session &session, const Account &account);
