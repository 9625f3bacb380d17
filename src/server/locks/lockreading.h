#pragma once

#include "server/processes/processreading.h"

#include <QStringList>

#include <vector>

// One session waits for what another one holds.
struct LockWait {
    QString waiting, blocking; // numbers of sessions; no blocking one: the server does not tell it
    QString object, mode;      // what is waited for, and how it is wanted
    QString seconds;
};

// An open transaction of InnoDB.
struct Transaction {
    QString session, user, host, database, state, seconds, isolation, rowsLocked, rowsModified, statement;
};

// A session in the picture of who waits for whom.
struct LockNode {
    QString session;
    int parent = -1;           // the node of the session it waits for; -1: it blocks and does not wait
    const LockWait *wait = {}; // its own, of those that the tree was made of
    bool isInCircle = false;   // it waits, but for one that waits for it in turn
};

struct LockPicture {
    std::vector<LockWait> waits;
    std::vector<Process> sessions; // that wait or block
    std::vector<Transaction> transactions;
    QStringList missing; // what cannot be seen and why, for the user
};

// Throws Failure only where the connection is lost or the question was stopped.
LockPicture readLocks(Session &session, ProcessReader &reader);

// Each session once, with those that block at the top: below the one it waits for, a blocking one that does
// not wait itself before others. Parents come before their children; the waits outlive the nodes.
std::vector<LockNode> lockTree(const std::vector<LockWait> &waits);

// What InnoDB noted of the last deadlock, passwords masked; empty: there was none. Throws Failure.
QString readLastDeadlock(Session &session);
// The same from the text of SHOW ENGINE INNODB STATUS.
QString lastDeadlock(const QString &status);
