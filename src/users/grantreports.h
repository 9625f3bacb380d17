#pragma once

#include "core/dialogue.h"
#include "users/accountform.h"
#include "users/hiddenprivileges.h"

#include <functional>

// Runs a command's statements; the dialogue shows the server's words (false) or what succeeded (true).
bool report(Dialogue &dialogue, const QString &success, const std::function<void()> &statements);

// The same for a change that takes everything away before it grants: the hidden rights are read first and
// granted back afterwards, also when the change failed. The change sets isTaken once rights are gone.
struct KeepingChange {
    std::function<HiddenPrivileges()> readHidden;
    std::function<void(bool &isTaken)> statements;
};
bool reportKeepingHidden(Session &session, Dialogue &dialogue, const Account &account,
                         const KeepingChange &change);
