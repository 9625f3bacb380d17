#pragma once

#include "core/dialogue.h"
#include "core/session.h"
#include "users/accountstatements.h"

#include <QStringList>

#include <functional>

// Rights of an account that no box of the window shows (EVENT, DELETE HISTORY, rights on columns, MySQL 8's
// dynamic ones). A change takes everything away and grants what the boxes show; these are granted back.
struct HiddenPrivileges {
    QString where;         // "*.*", "`d`.*", "`d`.`t`"
    QStringList rights;    // "EVENT", "SELECT (`a`, `b`)"
    QStringList grantable; // those to come back WITH GRANT OPTION
    QStringList all;       // whatever the account holds there, shown by boxes or not; "GRANT OPTION" is one

    // For reports on a change that granted what the boxes show: what they took away was meant to go.
    HiddenPrivileges withoutShown() const;
    // The same rights, none of which may be handed on.
    HiddenPrivileges withoutGrantOption() const;
};

// Reading statements only; servers before 5.0.2 have nothing hidden.
HiddenPrivileges readHiddenGlobal(Session &session, const Account &account);
HiddenPrivileges readHiddenOnDatabase(Session &session, const Account &account, const QString &database);
HiddenPrivileges readHiddenOnTable(Session &session, const Account &account, const QString &database,
                                   const QString &table);

// Sends nothing when there is nothing to keep. A right that the server refuses does not cost the others:
// the first refusal is thrown once all were tried.
void grantBack(Session &session, const Account &account, const HiddenPrivileges &hidden);

// After a change that failed: names those of the rights that the account has no longer, with the statement
// that brings them back. Where the server cannot be asked any more, all of them may be gone.
void tellLostRights(Dialogue &dialogue, const Account &account, const HiddenPrivileges &before,
                    const std::function<HiddenPrivileges()> &readAgain);
