#pragma once

#include "core/session.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"
#include "users/accountform.h"

// A command's surroundings: a scripted server, a session on it, a scripted user.
struct AccountStage {
    AccountStage() { session.gCn = script.connect(); }

    Script script;
    Session session;
    ScriptedDialogue dialogue;
};

inline Checks checked(std::size_t count, std::initializer_list<std::size_t> indexes)
{
    Checks checks(count);
    for (const std::size_t index : indexes)
        checks[index] = true;
    return checks;
}

// An account u@h with nothing chosen beyond it and no box checked.
inline AccountForm plainForm()
{
    AccountForm form;
    form.user = QStringLiteral(" u ");
    form.host = QStringLiteral(" h ");
    form.account = {QStringLiteral("h"), QStringLiteral("u")};
    form.password = form.passwordTag = QStringLiteral("\r\n\r\n\r\n");
    form.global = form.globalBefore = checked(26, {});
    form.database = checked(17, {});
    form.table = checked(4, {});
    form.addDatabase = form.addTableDatabase = QStringLiteral("*");
    return form;
}
