#pragma once

#include "core/session/session.h"
#include "transfer/progress.h"

#include <QObject>

#include <atomic>
#include <thread>

// Runs one transfer at a time on a thread and a connection of its own, so that windows and their connection
// stay free meanwhile. All calls come from the thread of the windows; so do the signals.
class TransferJob : public QObject {
    Q_OBJECT

public:
    // On the thread, over the session's open connection; throws Failure. Gives what is to be told.
    using Work = std::function<QString(Session &session, const ReportProgress &report)>;

    using QObject::QObject;
    // Stops what runs and waits for its end.
    ~TransferJob() override;

    // With the settings of the session.
    void start(const Session &session, const QString &database, Work work);
    // For what needs no server.
    void start(const std::function<QString(const ReportProgress &report)> &work);
    void stop() { m_isStopWanted = true; }
    bool isRunning() const { return m_isRunning; }

Q_SIGNALS:
    void progressed(const TransferStatus &status);
    void finished(const QString &text, bool hasFailed);

private:
    void run(std::function<QString()> work);
    ReportProgress reporter();

    std::thread m_thread;
    std::atomic<bool> m_isStopWanted = false;
    bool m_isRunning = false;
};
