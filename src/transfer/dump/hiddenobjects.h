#pragma once

#include "transfer/dump/dumpplan.h"

// The kinds of objects, in words, of which the account may not be shown all: the server lists none to who has
// no right on them, and a dump would leave them out without a word. Empty: it sees all that the options want.
QStringList kindsNotAllShown(Connection &connection, const DumpOptions &options);
