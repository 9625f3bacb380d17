#pragma once

#include <QtGlobal>

#include <arpa/inet.h>
#include <atomic>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

// Stands between a client and a server on this machine and breaks the connection off after so many bytes
// of the server's, in the middle of a packet if it comes so.
class CuttingProxy {
public:
    explicit CuttingProxy(int serverPort)
        : m_serverPort(serverPort)
        , m_listener(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = localAddress(0);
        socklen_t length = sizeof address;
        if (bind(m_listener, reinterpret_cast<sockaddr *>(&address), length) != 0 ||
            listen(m_listener, 8) != 0 ||
            getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &length) != 0)
            qFatal("no free port");
        m_port = ntohs(address.sin_port);
        m_acceptor = std::thread([this] { acceptClients(); });
    }
    ~CuttingProxy()
    {
        m_isEnding = true;
        m_acceptor.join();
        for (std::thread &link : m_links)
            link.join();
        close(m_listener);
    }
    CuttingProxy(const CuttingProxy &) = delete;
    CuttingProxy &operator=(const CuttingProxy &) = delete;

    int port() const { return m_port; }
    // From now on; what has passed before does not count.
    void cutAfter(qint64 bytes) { m_left = bytes; }

private:
    static sockaddr_in localAddress(int port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }
    void acceptClients()
    {
        while (!m_isEnding) {
            pollfd waiting{m_listener, POLLIN, 0};
            if (poll(&waiting, 1, 20) != 1)
                continue;
            const int client = accept(m_listener, nullptr, nullptr);
            m_links.emplace_back([this, client] { link(client); });
        }
    }
    void link(int client)
    {
        const int server = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = localAddress(m_serverPort);
        bool isUp = connect(server, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
        while (isUp && !m_isEnding) {
            pollfd sides[]{{client, POLLIN, 0}, {server, POLLIN, 0}};
            poll(sides, 2, 20);
            if (sides[0].revents)
                isUp = pass(client, server, nullptr);
            if (isUp && sides[1].revents)
                isUp = pass(server, client, &m_left);
        }
        close(server);
        close(client);
    }
    static bool pass(int from, int to, std::atomic<qint64> *left)
    {
        char bytes[4096];
        ssize_t count = recv(from, bytes, sizeof bytes, 0);
        if (count <= 0)
            return false;
        bool goesOn = true;
        if (left && *left >= 0) {
            goesOn = count < *left;
            count = static_cast<ssize_t>(std::min<qint64>(count, *left));
            *left -= count;
        }
        return send(to, bytes, static_cast<std::size_t>(count), MSG_NOSIGNAL) == count && goesOn;
    }

    const int m_serverPort;
    const int m_listener;
    int m_port = 0;
    std::atomic<bool> m_isEnding{false};
    std::atomic<qint64> m_left{-1};
    std::thread m_acceptor;
    std::vector<std::thread> m_links;
};
