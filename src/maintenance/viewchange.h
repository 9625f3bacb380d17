#pragma once

#include "core/session.h"
#include "maintenance/tablerecovery.h"

// A view's change under way: the view is dropped and made again from the edited text.
struct ViewChange {
    QString database, name;
    QString newText;    // sent exactly as it stands
    QString savedText;  // the old definition as it was shown
    QString serverText; // the old definition in the server's own words; may be empty
    bool isDropped = false;

    QString view() const;
};

// Makes the view again from the saved text when it was dropped and the new text failed; from the server's
// own text when that fails too. Where an answer was lost, a new connection is made once. Never throws.
RecoveryReport recoverView(Session &session, const ViewChange &change, bool answerLost);
