#pragma once

#include "core/session/session.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>
#include <type_traits>

class QThread;

// A further connection of the session's settings, in a thread of its own: questions are answered one after
// the other while the windows go on, whatever runs in them. A connection that was lost is made anew by the
// next question. All calls come from the thread of the windows, and so do the answers.
class ServerLink : public QObject {
    Q_OBJECT

public:
    using Refusal = std::function<void(const Failure &)>;

    explicit ServerLink(const Session &session);
    // Stops what runs. A server that does not even answer to that is not waited for.
    ~ServerLink() override;

    // What the connection is made with: the windows may go to another server.
    const Session &settings() const { return *m_settings; }
    void takeMarks(const ConnectionProfile &profile) { m_settings->profile.takeMarks(profile); }

    // `question` is carried out on the connection's thread over the session's open connection, and may throw
    // Failure. Then `show` gets what it returned, or `refuse` the failure; neither when the asker has gone.
    template <class Question, class Show>
    void ask(QObject &asker, Question question, Show show, Refusal refuse)
    {
        using Answer = std::invoke_result_t<Question, Session &>;
        auto answer = std::make_shared<std::optional<Answer>>();
        post(
            asker, [answer, question](Session &session) { answer->emplace(question(session)); },
            [answer, show] { show(std::move(**answer)); }, std::move(refuse));
    }
    // Stops what runs now; its asker gets the failure of an interruption.
    void stop();
    // Empty while there is a connection; else what was said when it was lost or could not be made.
    const QString &problem() const { return m_problem; }
    // The last attempts to connect, one after the other, that failed.
    int failedAttempts() const { return m_failedAttempts; }
    bool isRefused() const { return m_isRefused; } // by the server, for the account or its password

Q_SIGNALS:
    void stateChanged();

private:
    class Worker;
    using Work = std::function<void(Session &)>;

    void post(QObject &asker, Work work, std::function<void()> done, Refusal refuse);
    void note(const std::optional<Failure> &failure, bool isConnected);

    std::unique_ptr<Session> m_settings;
    QThread *m_thread;
    Worker *m_worker; // deletes itself when the thread has ended
    QString m_problem;
    int m_failedAttempts = 0;
    bool m_isRefused = false;
};
