#pragma once

#include "maintenance/recovery.h"

// A view or routine under change: it is dropped and made again from an edited text.
struct Replacement {
    QString database, name; // as the user is told of it: "VIEW `d`.v"
    QString showStatement;  // "show create ..."
    QString oldStatement;   // makes the old one as it was shown, which may have lost quotes that it needs
    QString serverText;     // the same in the server's own words; may be empty
    bool isDropped = false;
};

// Makes the old one again when it was dropped and the new one failed; from the server's own text when what
// was shown fails. Where a statement is in doubt, the server is asked first. Never throws.
RecoveryReport recoverReplacement(Session &session, const Replacement &replacement, Doubt doubt);
