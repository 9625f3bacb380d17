#pragma once

#include "core/command/command.h"
#include "core/command/definition.h"
#include "core/command/undolog.h"

#include <functional>

// Before a step that makes an object of a new name: what another one made of that name would be taken for it
// when the answer is lost, and be dropped. Throws Failure.
void requireFree(Session &session, const Step &making);

// A view or routine that is dropped and made again, from an edited text or as it was: what a definition's
// text does not carry is to stay, and where it cannot, the user is asked before anything is changed.
class Remaking {
public:
    // Reads the session's variables into the log's.
    Remaking(Session &session, UndoLog &log, ObjectDefinition old);

    const ObjectDefinition old;
    const SqlMode mode;        // in which the old text reads
    const DefinitionHead head; // of the old text
    // What stands behind the old text's head.
    QString oldTail() const { return old.text.mid(head.tail); }

    // What is to be sent in the object's own character set; notes it where the server cannot take it so.
    void keepCharacterSet(const QStringList &statements);
    // Sends the statement that `remake` gives for a definer (empty: the account itself) while the object is
    // still there. The server then checks everything and says at last that it exists: that proves the way
    // back. Throws Failure where the account may not make the object at all.
    void rehearse(const std::function<QString(const QString &definer)> &remake);
    // The rights of accounts on a routine, which its drop takes. `type` is PROCEDURE or FUNCTION.
    void keepRights(const QString &type, const QString &database, const QString &name);
    // A routine takes the collation that the database has when it is made.
    void keepDatabaseCollation(const QString &database);

    // One box for all that cannot be kept; true: there is nothing, or the user agrees.
    bool isLossAccepted(Dialogue &dialogue) const;

    // To be named in the new object's head; empty: it is the account itself, or cannot be kept.
    const QString &definer() const { return m_definer; }
    // Statements that give the rights back on a routine of this name, qualified.
    QStringList grants(const QString &routine) const;
    // A step that makes the object as it was made, without a way back yet.
    Step step(const QString &statement) const;
    WayBack wayBack(const QString &statement) const;

private:
    void tryAs(const QString &definer, const std::function<QString(const QString &)> &remake);
    void giveUpCharacterSet();
    QString sent(const QString &statement) const;

    Session &m_session;
    UndoLog &m_log;
    std::vector<SessionVariable> m_with;
    QString m_definer;
    QStringList m_rights; // "GRANT ... ON PROCEDURE %1 TO ..."
    QStringList m_notKept;
};
