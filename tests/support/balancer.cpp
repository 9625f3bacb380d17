#include "support/balancer.h"

#include "support/loopback.h"

Balancer::Balancer(std::vector<int> serverPorts)
    : m_serverPorts(std::move(serverPorts))
    , m_listener(listenOnLoopback(m_port))
{
    m_thread = std::thread([this] { serve(); });
}

Balancer::~Balancer()
{
    m_ends = true;
    m_thread.join();
    close(m_listener);
}

void Balancer::accept()
{
    const int client = ::accept(m_listener, nullptr, nullptr);
    const std::size_t index = m_next.load();
    m_next = (index + 1) % m_serverPorts.size();
    const int server = connectToLoopback(m_serverPorts[index]);
    if (server < 0) {
        close(client);
        return;
    }
    sendAtOnce(client);
    sendAtOnce(server);
    m_pairs.push_back({client, server});
    ++m_connections;
}

bool Balancer::pass(int from, int to)
{
    char bytes[65536];
    const ssize_t count = read(from, bytes, sizeof bytes);
    for (ssize_t sent = 0; count > 0 && sent < count;) {
        const ssize_t now = send(to, bytes + sent, static_cast<std::size_t>(count - sent), MSG_NOSIGNAL);
        if (now <= 0)
            return false;
        sent += now;
    }
    return count > 0;
}

void Balancer::serve()
{
    while (!m_ends) {
        std::vector<pollfd> waits{{m_listener, POLLIN, 0}};
        for (const Pair &pair : m_pairs) {
            waits.push_back({pair.client, POLLIN, 0});
            waits.push_back({pair.server, POLLIN, 0});
        }
        if (poll(waits.data(), waits.size(), 20) <= 0)
            continue;
        // From the end: a pair that is taken out moves only those that were served.
        for (std::size_t i = m_pairs.size(); i-- > 0;) {
            const Pair pair = m_pairs[i];
            const bool isAlive = (waits[1 + 2 * i].revents == 0 || pass(pair.client, pair.server)) &&
                                 (waits[2 + 2 * i].revents == 0 || pass(pair.server, pair.client));
            if (isAlive)
                continue;
            close(pair.client);
            close(pair.server);
            m_pairs.erase(m_pairs.begin() + static_cast<std::ptrdiff_t>(i));
        }
        if (waits[0].revents != 0)
            accept();
    }
    for (const Pair &pair : m_pairs) {
        close(pair.client);
        close(pair.server);
    }
}
