#pragma once

#include "core/session.h"
#include "maintenance/tablerecovery.h"

enum class ViewStage { Nothing, Dropping, Creating, Done };

// A view's change under way: the view is dropped and made again from the edited text.
struct ViewChange {
    QString database, name;
    QString newText;    // sent exactly as it stands
    QString savedText;  // the old definition as it was shown
    QString serverText; // the old definition in the server's own words; may be empty
    ViewStage stage = ViewStage::Nothing;

    QString view() const;
};

// Makes the view again from the saved text when it was dropped and the new text failed; from the server's
// own text when that fails too. Never throws.
RecoveryReport recoverView(Session &session, const ViewChange &change, bool answerLost);
