#pragma once

#include <atomic>
#include <thread>
#include <vector>

// Stands before several servers on 127.0.0.1 and hands each new connection to the next one, as balancers do.
class Balancer {
public:
    explicit Balancer(std::vector<int> serverPorts);
    ~Balancer();
    Balancer(const Balancer &) = delete;
    Balancer &operator=(const Balancer &) = delete;

    int port() const { return m_port; }
    // Which server (from 0) the next connection gets; the ones after it go round.
    void turnTo(int server) { m_next = static_cast<std::size_t>(server); }
    // Connections that were handed over so far.
    int connections() const { return m_connections; }

private:
    struct Pair {
        int client, server;
    };
    void serve();
    void accept();
    static bool pass(int from, int to);

    const std::vector<int> m_serverPorts;
    int m_port = 0;
    const int m_listener;
    std::vector<Pair> m_pairs; // the thread's own
    std::atomic<std::size_t> m_next = 0;
    std::atomic<int> m_connections = 0;
    std::atomic<bool> m_ends = false;
    std::thread m_thread;
};
