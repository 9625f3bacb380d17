#pragma once

#include <QByteArray>

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

// A server on 127.0.0.1 that speaks the protocol of MySQL and does what no honest one does: it asks for
// passwords as they stand, lies about its results, or says nothing. Ends with the object.
class FakeServer {
public:
    // What it says until the client is in.
    struct Login {
        bool offersTls = false;                      // and then waits for ever
        QByteArray plugin = "mysql_native_password"; // of the greeting
        QByteArray otherPlugin = {};                 // asked for after the client's first answer
        bool wantsOldHash = false;                   // the same, as servers before 4.1 did
        bool knowsNoHash = false;                    // caching_sha2_password: asks for the password itself
        bool isSilent = false;
    };
    // What it says to a statement. All values are texts, also over prepared statements.
    struct Answer {
        std::vector<QByteArray> columns = {}; // none: no rows
        std::vector<std::vector<QByteArray>> rows = {};
        QByteArray error = {};  // in place of rows, or behind them
        bool endsNever = false; // the rows come again and again; without rows: silence
        QByteArray wantedFile = {};
        int firstClient = 0; // clients before it get other answers
    };

    explicit FakeServer(Login login);
    ~FakeServer();
    FakeServer(const FakeServer &) = delete;
    FakeServer &operator=(const FakeServer &) = delete;

    int port() const { return m_port; }
    // To statements that begin so; the latest such answer counts. Others succeed without rows. To be said
    // before clients connect.
    void answer(const QByteArray &start, Answer answer) { m_answers.emplace_back(start, std::move(answer)); }
    // Every byte that clients have sent.
    QByteArray received() const
    {
        const std::lock_guard lock(m_mutex);
        return m_received;
    }

private:
    class Client;
    void serve();
    const Answer &answerTo(QByteArrayView statement, int client) const;
    void note(QByteArrayView bytes)
    {
        const std::lock_guard lock(m_mutex);
        m_received.append(bytes);
    }

    const Login m_login;
    int m_port = 0;
    const int m_listener;
    std::vector<std::pair<QByteArray, Answer>> m_answers;
    mutable std::mutex m_mutex;
    QByteArray m_received;
    std::atomic<bool> m_ends = false;
    std::list<std::thread> m_clients;
    std::thread m_thread;
};
