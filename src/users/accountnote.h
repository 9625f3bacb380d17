#pragma once

#include "core/command/undolog.h"
#include "users/rights.h"

// How the rights come back that a change of several statements takes from an account, for a program that does
// not live to end it. The account itself stays until the last of its rights is gone, and its password with
// it: no note holds a password or a hash.
class AccountNote {
public:
    // what: "の権限の変更"
    AccountNote(Session &session, const Account &account, const QString &what);
    ~AccountNote();

    // Before anything is read or sent. Throws Failure where FLUSH PRIVILEGES would be refused behind the
    // first statement that takes something. Gives the rights at all scopes of the account that is connected.
    Rights open();
    const ServerPlace &place() const { return m_log.place(); }
    // Notes the statements that give the rights back; `surplus` names what the change adds at a scope.
    // Nothing is noted where there is nothing to give back. Throws Failure when it cannot be written.
    void write(const QStringList &grants, const Scope &scope, const QStringList &surplus,
               const QString &state);
    // The same for the account as a whole, which the statement removes with all that is left of it.
    void writeRemoval(const QStringList &grants, const QString &dropStatement);
    // Nothing is missing any more. Without it the note stays, for the next connection to this server.
    void close();

private:
    WayBack needsAccount() const;
    void note(Step step, const QStringList &grants);

    Session &m_session;
    const Account m_account;
    UndoLog m_log;
    bool m_isClosed = false;
};

// Sends each, and FLUSH PRIVILEGES after it. The note goes again where the server refuses the first.
void sendNoted(Session &session, AccountNote &note, const QStringList &statements);
