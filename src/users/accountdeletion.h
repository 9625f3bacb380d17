#pragma once

#include "users/rights.h"

// Deletes an account's rights on the columns of one table, which a deleted right on the table leaves behind:
// they would come to life with the next one. Sends only a reading statement where there are none.
void deleteColumnRows(Session &session, const Account &account, const Scope &scope);
