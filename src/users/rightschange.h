#pragma once

#include "users/accountform.h"
#include "users/rights.h"

#include <functional>

// Runs a command's statements; the dialogue shows the server's words (false) or what succeeded (true).
bool report(Dialogue &dialogue, const QString &success, const std::function<void()> &statements);

// What an account is to hold at one scope.
struct WantedRights {
    Rights kept; // those that no box shows: also after a failure
    Rights all;
};

// A change of the rights that the form's account holds at one scope. What the boxes do not show stays as it
// was, at this scope and at all others.
struct RightsChange {
    Scope scope;         // where rights are taken
    Scope grantScope;    // where they are granted: another one when the user chose so
    QStringList granted; // their names
    std::function<WantedRights(const Rights &before)> wanted; // at scope
    std::function<void(const AccountState &before)> take;     // revokes
    std::function<void(const AccountState &before)> grant;    // grants what the boxes show
    // After a failure: what is prescribed there. The statement in doubt may have been carried out.
    std::function<void(bool isInDoubt)> putBack = {};
    bool isAllPutBack = false; // after a failure: the rights that boxes show as well
    bool isPasswordNew = false;
    QString closing = QStringLiteral("変更しました。"); // once all is done
};

// Says that it is done (true), or what failed and what the account lacks now (false). A right that the user
// who is connected may not give is found out before anything is taken.
bool changeRights(AccountContext &context, const RightsChange &change);
