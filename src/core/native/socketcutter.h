#pragma once

#include <mutex>

// Breaks a connection off from another thread, so that a call blocked on it returns at once. It holds a
// handle of its own on the socket: the library may close its one at any time, and the number be used anew.
class SocketCutter {
public:
    SocketCutter() = default;
    ~SocketCutter() { release(); }
    SocketCutter(const SocketCutter &) = delete;
    SocketCutter &operator=(const SocketCutter &) = delete;

    void watch(int socket);
    void release();
    // Any thread. False when no connection is watched.
    bool cut();

private:
    std::mutex m_mutex;
    int m_socket = -1;
};
