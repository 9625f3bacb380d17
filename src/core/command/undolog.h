#pragma once

#include "core/command/dialogue.h"
#include "core/command/doubt.h"
#include "core/command/sessionvariables.h"
#include "core/command/undostep.h"

#include <QDateTime>
#include <QLockFile>

#include <memory>

// What became of a change that failed.
struct UndoReport {
    enum class Ending {
        Undone, // all is as before
        Done,   // it turned out to be done, or could only be finished
        Stuck   // the undoing failed too
    };
    Ending ending = Ending::Undone;
    QString message = {}; // what the user has to know; empty: nothing
    QString details = {}; // statements that the user may need
};

// Shows the report, when there is something in it, and writes it beneath the error.
void tellReport(Dialogue &dialogue, const QString &error, const UndoReport &report, bool withTip);

// The file of a log that an earlier start of the program left open.
struct UndoFile {
    QString path;
    static QString suffix() { return QStringLiteral(".undo"); }
};

// A change of several statements on the server. Each is noted before it is sent, with its way back and the
// question that settles whether it was done when its answer is lost; so the change can be undone from any
// point, over a new connection and by a later start of the program. Where the session knows a place for
// settings, the notes are in a file there as long as the log is open.
class UndoLog {
public:
    // Sends nothing. `what` names the change for the user, as "ﾃｰﾌﾞﾙ `d`.t の変更".
    UndoLog(Session &session, QString what);
    // Throws Failure when the file cannot be read or belongs to a program that runs.
    UndoLog(Session &session, const UndoFile &file);
    ~UndoLog();
    UndoLog(const UndoLog &) = delete;
    UndoLog &operator=(const UndoLog &) = delete;

    // Before the first step. Sets what the steps and their ways back need, and so that SHOW and SELECT are
    // not cut off and what was answered is kept. Throws Failure.
    void open(const std::vector<SessionVariable> &more = {});
    SessionVariables &variables() { return m_variables; }
    const SessionVariables &variables() const { return m_variables; }

    // Writes a step down that the caller sends and takes back by itself, in as many statements as it wants.
    // Sends nothing. Throws Failure, and has noted nothing, when it cannot be written.
    void note(Step step);
    // Sends a step; a refusal is thrown (Failure) unless the step is optional.
    RecordSet execute(Step step);
    // Sends what needs no way back.
    RecordSet send(const QString &statement, const std::vector<SessionVariable> &with = {});
    // Ends what was of the session only, as a lock that is no longer needed.
    void release();

    // Nothing is to be undone any more: the variables are put back and the file goes. Never throws; what
    // optional steps lost is in the report.
    UndoReport close();
    // After an error of a step, or of the caller between two: goes back from the last step, also after a
    // stop, and stops at the first way back that fails. Never throws.
    UndoReport undo(const Failure &error);
    // For a log of an earlier start: goes back, or does the rest (see finishingStatement()). The notes stay
    // where it fails.
    UndoReport undoPending();
    UndoReport finishPending();
    // The notes stay for a later start; the variables are put back. Never throws.
    void leave();
    // Leaves the server as it is, and lets the notes of an earlier start go.
    void forget();

    // The steps that are not taken back.
    bool isEmpty() const { return m_steps.empty(); }
    const QString &what() const { return m_what; }
    const QDateTime &begun() const { return m_begun; }
    const ServerPlace &place() const { return m_place; }
    QStringList pendingStatements() const; // the ways back, in order
    // The only one that is left to do; empty: there is more, so that one can only go back.
    QString finishingStatement() const;
    // Where things are now.
    QString untilUndone() const { return state(false); }
    // The same, after an undoing that failed.
    QString whenStuck() const { return state(true); }

private:
    enum class State { Done, Refused, InDoubt };
    // What the user wants of a log of an earlier start. A change of this start is finished where that is the
    // only way, else undone.
    enum class Aim { Best, GoBack, Finish };
    struct Noted {
        Step step;
        State state = State::InDoubt;
    };

    Connection &connection() { return m_session.connection(); }
    void keep(const QString &message, const QString &details);

    QString state(bool hasFailed) const;

    UndoReport resume();
    UndoReport goBack(Doubt doubt);
    void settle(Doubt doubt);
    void requireHeld();
    bool finishes();
    void takeBackAll();
    void takeBack(const WayBack &back, bool isBegun);
    void makeAgain(const WayBack &back);
    UndoReport end(UndoReport::Ending ending);
    UndoReport stuck(const Failure &error);

    QByteArray bytes() const;
    void load(const QByteArray &bytes);
    QString save();

    Session &m_session;
    QString m_what;
    QDateTime m_begun = QDateTime::currentDateTime();
    SessionVariables m_variables;
    ServerPlace m_place;
    std::vector<Noted> m_steps; // those that are not taken back
    int m_nextBack = -1;        // which way back of the last step is next; -1: it is not being taken back
    bool m_isInDoubt = false;   // a statement was; what exists is asked from then on
    Aim m_aim = Aim::Best;
    QStringList m_messages, m_details;

    QString m_pendingDatabase; // the default one that an earlier start had set
    QString m_path;            // empty: no file
    std::unique_ptr<QLockFile> m_lock;
};
