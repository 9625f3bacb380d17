#pragma once

#include "sheets/sheetworker.h"

#include <QThread>

#include <memory>

// A sheet's worker in its thread. Let go, it stops what runs and closes its connection in the background, so
// that no window waits for a server; the end of the program waits for it, within bounds.
class SheetThread {
public:
    // A sibling of the session is the worker's own.
    SheetThread(const Session &session, const QString &database);
    ~SheetThread();
    SheetThread(const SheetThread &) = delete;
    SheetThread &operator=(const SheetThread &) = delete;

    SheetWorker &worker() { return *m_worker; }

private:
    std::unique_ptr<SheetWorker> m_worker;
    std::unique_ptr<QThread> m_thread;
};
