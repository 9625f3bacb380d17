#pragma once

#include "core/session/session.h"
#include "transfer/progress.h"

#include <QObject>

#include <atomic>
#include <thread>
#include <vector>

// Runs one transfer at a time on a thread and a connection of its own, so that windows and their connection
// stay free meanwhile. All calls come from the thread of the windows; so do the signals.
class TransferJob : public QObject {
    Q_OBJECT

public:
    // On the thread, over the session's open connection; throws Failure.
    using Work = std::function<TransferReport(Session &session, const ReportProgress &report)>;
    // The same between two servers.
    using WorkOfTwo = std::function<TransferReport(Session &from, Session &to, const ReportProgress &report)>;

    using QObject::QObject;
    // Stops what runs and waits for its end.
    ~TransferJob() override;

    // With the settings of the session. Its statements go into the session's log.
    void start(const Session &session, const QString &database, const Work &work);
    void start(const Session &from, const Session &to, const WorkOfTwo &work);
    // For what needs no server.
    void start(const std::function<TransferReport(const ReportProgress &report)> &work);
    void stop() { m_isStopWanted = true; }
    bool isRunning() const { return m_isRunning; }

Q_SIGNALS:
    void progressed(const TransferStatus &status);
    void finished(const TransferReport &report);

private:
    class OwnSessions;
    using WorkOfAny = std::function<TransferReport(OwnSessions &sessions, const ReportProgress &report)>;

    void start(std::unique_ptr<OwnSessions> sessions, WorkOfAny work);
    void run(std::function<TransferReport()> work);
    ReportProgress reporter(OwnSessions *sessions);

    std::thread m_thread;
    std::atomic<bool> m_isStopWanted = false;
    bool m_isRunning = false;
};
