#pragma once

#include "support/loopback.h"

#include <QTest>

#include <atomic>
#include <string>
#include <thread>

// Stands between one client and a server on 127.0.0.1 and breaks their connection at a chosen statement.
class CuttingProxy {
public:
    enum class Cut {
        Request, // the statement never reaches the server
        Answer   // the server has carried it out, the client never hears of it
    };

    explicit CuttingProxy(int serverPort)
        : m_serverPort(serverPort)
        , m_listener(listenOnLoopback(m_port))
    {
        m_thread = std::thread([this] { serve(); });
    }
    ~CuttingProxy()
    {
        m_ends = true;
        m_thread.join();
        close(m_listener);
    }
    CuttingProxy(const CuttingProxy &) = delete;
    CuttingProxy &operator=(const CuttingProxy &) = delete;

    int port() const { return m_port; }
    // Breaks at the n-th statement (from 0) that comes from now on. Whoever connects afterwards gets
    // through when mayReturn, else is turned away.
    void cutAt(int statement, Cut what, bool mayReturn)
    {
        m_hasCut = false;
        m_mayReturn = mayReturn;
        m_cut = what;
        m_left = statement;
    }
    bool hasCut() const { return m_hasCut; }
    // Breaks within what the server sends, after so many bytes from now on; below 0: not. Whoever connects
    // afterwards gets through.
    void cutAfter(qint64 bytes) { m_bytesLeft = bytes; }

private:
    // One client at a time: the program has one connection.
    void serve()
    {
        while (!m_ends) {
            pollfd wait{m_listener, POLLIN, 0};
            if (poll(&wait, 1, 5) <= 0)
                continue;
            const int client = accept(m_listener, nullptr, nullptr);
            if (!m_hasCut || m_mayReturn)
                relay(client);
            close(client);
        }
    }

    void relay(int client)
    {
        const int server = connectToLoopback(m_serverPort);
        sendAtOnce(client);
        sendAtOnce(server);
        m_pending.clear();
        m_swallows = false;
        while (server >= 0 && !m_ends && isAlive(client, server)) {
        }
        close(server);
    }

    bool isAlive(int client, int server)
    {
        pollfd both[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
        poll(both, 2, 5);
        char bytes[65536];
        if (both[1].revents != 0) {
            const ssize_t count = read(server, bytes, sizeof bytes);
            if (count <= 0 || m_swallows)
                return cut();
            // Counted before the client has them: it may set the next limit at once.
            const bool isLimited = m_bytesLeft >= 0;
            const ssize_t passed = isLimited ? std::min<qint64>(count, m_bytesLeft) : count;
            const bool isUsedUp = isLimited && (m_bytesLeft -= passed) == 0;
            if (write(client, bytes, static_cast<std::size_t>(passed)) != passed)
                return cut();
            if (isUsedUp)
                return false;
        }
        if (both[0].revents == 0)
            return true;
        const ssize_t count = read(client, bytes, sizeof bytes);
        if (count <= 0)
            return false;
        m_pending.append(bytes, static_cast<std::size_t>(count));
        return passRequests(server);
    }

    // Whole packets only: three bytes length, one byte number (0 begins a command), the command's code.
    bool passRequests(int server)
    {
        const auto byte = [this](std::size_t i) { return static_cast<unsigned char>(m_pending[i]); };
        while (m_pending.size() > 4) {
            const std::size_t size = 4 + byte(0) + byte(1) * 256U + byte(2) * 65536U;
            if (m_pending.size() < size)
                break;
            constexpr unsigned char query = 3, execute = 0x17;
            const bool isStatement = byte(3) == 0 && (byte(4) == query || byte(4) == execute);
            if (isStatement && m_left >= 0 && m_left-- == 0) {
                if (m_cut == Cut::Request)
                    return cut();
                m_swallows = true;
            }
            if (write(server, m_pending.data(), size) != static_cast<ssize_t>(size))
                return false;
            m_pending.erase(0, size);
        }
        return true;
    }

    bool cut()
    {
        m_hasCut = m_hasCut || m_swallows || m_left == -1;
        m_left = -2;
        return false;
    }

    const int m_serverPort;
    int m_port = 0;
    const int m_listener;
    std::string m_pending; // from the client, not yet passed on; the thread's own
    bool m_swallows = false;
    std::atomic<int> m_left = -2; // statements until the cut; below 0: none is due
    std::atomic<Cut> m_cut = Cut::Request;
    std::atomic<qint64> m_bytesLeft = -1;
    std::atomic<bool> m_mayReturn = true, m_hasCut = false, m_ends = false;
    std::thread m_thread;
};
