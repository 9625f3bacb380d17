#pragma once

#include "core/command/sessionvariables.h"

// What the connection is in while rows are saved over it.

// What the user's own SQL may have left is put aside: a value that does not fit must be refused, not cut, an
// AUTO_INCREMENT column takes the 0 that it is given, texts come and go in UTF-8, no row that is asked for is
// left out, and a COMMIT neither begins another transaction nor ends the connection. `variables` puts it
// back.
void setSavingVariables(Connection &connection, SessionVariables &variables, const QStringList &withoutModes);
// Or one begins with the next statement.
bool isInTransactionOfUser(Connection &connection);
