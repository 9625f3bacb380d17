#pragma once

#include "core/driver/pump.h"
#include "core/session/connectionprofile.h"
#include "core/sql/connection.h"

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// A port of this machine, on the loopback address only, behind which a server answers that another machine
// reaches: an `ssh` of the system's, which ends with the object. Everything it asks the user goes through
// the program that is named for it (SSH_ASKPASS).
class SshTunnel {
public:
    struct Target {
        SshOptions way;
        QString host, port; // as the other machine knows them

        bool operator==(const Target &) const = default;
        // Why ssh is not to be called with it, in words; empty: it may.
        QString whatIsWrong() const;
    };

    SshTunnel(const Target &target, const QString &askPassProgram);
    ~SshTunnel(); // waits for ssh to end, a few seconds at most
    SshTunnel(const SshTunnel &) = delete;
    SshTunnel &operator=(const SshTunnel &) = delete;

    const Target &target() const { return m_target; }
    // Finished once the port answers, or never will.
    Completion &decided() { return m_decided; }
    bool isUp() const { return m_isUp; }
    int port() const { return m_port; } // once it is up
    // What ssh said last.
    QString words() const;
    void stop() { m_isLeft = true; } // returns at once

private:
    void run();
    bool tryPort(int port);
    void note(const QByteArray &words);

    const Target m_target;
    const QString m_askPassProgram;
    Completion m_decided;
    std::atomic<bool> m_isUp = false, m_isLeft = false;
    std::atomic<int> m_port = 0;
    mutable std::mutex m_mutex; // of the words
    QByteArray m_words;
    std::thread m_thread; // QProcess belongs to one thread; this one waits for it
};

// The tunnels that stand: connections of one way share one.
class Tunnels {
public:
    // The program that asks the user what ssh wants to know.
    explicit Tunnels(QString askPassProgram)
        : m_askPassProgram(std::move(askPassProgram))
    {
    }

    std::shared_ptr<SshTunnel> to(const SshTunnel::Target &target);

private:
    const QString m_askPassProgram;
    std::mutex m_mutex; // connections of several threads share them
    std::vector<std::weak_ptr<SshTunnel>> m_tunnels;
};

// The factory's connections; where the string has the piece SSHHOST (with SSHPORT, SSHUSER and SSHKEY), the
// server is reached through a tunnel, which stands as long as a connection needs it. The program asks the
// user what ssh wants to know.
using WaitingFactory =
    std::function<std::unique_ptr<Connection>(const QString &connectionString, Pump &pump)>;
WaitingFactory tunnelled(WaitingFactory factory, const QString &askPassProgram);
